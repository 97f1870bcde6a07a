// The Python module `lumisk`: extraction, projection and the descriptor files of the
// command line, on numpy arrays. The core runs without the GIL; its lines go to
// Python's logging afterwards (logger "lumisk", silent unless configured).
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <cstring>
#include <string>
#include <vector>

#include "ExtractionRun.h"
#include "LogRecords.h"

namespace py = pybind11;

namespace Tavlin
{
namespace Python
{

namespace
{

int PythonLevel(int priority)
{
    // log4cpp: ERROR 300, WARN 400, INFO 600, DEBUG 700 and finer.
    if (priority <= 300)
        return 40;
    if (priority <= 400)
        return 30;
    if (priority <= 600)
        return 20;
    return 10;
}

void Forward(const std::vector<LogRecord>& records)
{
    if (records.empty())
        return;
    py::object logger = py::module_::import("logging").attr("getLogger")("lumisk");
    for (const LogRecord& record : records)
        logger.attr("log")(PythonLevel(record.mPriority), "[%s] %s", record.mCategory, record.mMessage);
}

// Runs `call` without the GIL, then hands its log lines to Python, also when it threw.
template <class Call>
auto WithoutGil(Call call)
{
    std::vector<LogRecord> log;
    struct Forwarder
    {
        std::vector<LogRecord>& mLog;
        ~Forwarder()
        {
            try
            {
                Forward(mLog);
            }
            catch (...)
            {
                PyErr_Clear();
            }
        }
    } forwarder{log};
    py::gil_scoped_release release;
    return call(log);
}

py::array_t<double> ToNumpy(const Matrix& matrix)
{
    py::array_t<double> array({matrix.mRows, matrix.mCols});
    if (!matrix.mData.empty())
        std::memcpy(array.mutable_data(), matrix.mData.data(), matrix.mData.size() * sizeof(double));
    return array;
}

Matrix FromNumpy(const py::handle& object, const char* what, int64_t width)
{
    py::array_t<double, py::array::c_style | py::array::forcecast> array;
    try
    {
        array = py::array_t<double, py::array::c_style | py::array::forcecast>::ensure(object);
    }
    catch (const py::error_already_set&)
    {
    }
    if (!array)
    {
        PyErr_Clear();
        throw py::value_error(std::string(what) + " must be a numeric array");
    }
    if (array.ndim() != 2 || (width >= 0 && array.shape(1) != width))
        throw py::value_error(std::string(what) + " must be a 2-D array" +
                              (width >= 0 ? " of " + std::to_string(width) + " columns" : std::string()));
    Matrix matrix;
    matrix.mRows = array.shape(0);
    matrix.mCols = array.shape(1);
    matrix.mData.assign(array.data(), array.data() + array.size());
    return matrix;
}

// Option values as the command line would spell them; a flag given False is left out.
void AddOptions(ExtractionRequest& request, const py::kwargs& options)
{
    for (const auto& [key, value] : options)
    {
        const std::string name = py::str(key);
        if (py::isinstance<py::bool_>(value))
        {
            const bool on = value.cast<bool>();
            if (IsFlagOption(name))
            {
                if (on)
                    request.mOptions.emplace_back(name, "");
                continue;
            }
            request.mOptions.emplace_back(name, on ? "1" : "0");
            continue;
        }
        request.mOptions.emplace_back(name, py::str(value).cast<std::string>());
    }
}

bool IsPath(const py::handle& object)
{
    return py::isinstance<py::str>(object) || py::hasattr(object, "__fspath__");
}

std::string PathOf(const py::handle& object)
{
    return py::module_::import("os").attr("fspath")(object).cast<std::string>();
}

// `request` holds the codebook, if any; the options and the image are added here.
py::tuple Run(ExtractionRequest& request, const py::object& image, const std::string& detector,
              const std::string& descriptor, const py::kwargs& options)
{
    request.mOptions.emplace_back("detector", detector);
    request.mOptions.emplace_back("descriptor", descriptor);
    AddOptions(request, options);

    py::array_t<uint8_t, py::array::c_style> pixels;
    if (IsPath(image))
        request.mImageFile = PathOf(image);
    else
    {
        if (!py::isinstance<py::array>(image))
            throw py::value_error("image must be a file name or an H x W x 3 uint8 array");
        py::array array = py::reinterpret_borrow<py::array>(image);
        if (!array.dtype().is(py::dtype::of<uint8_t>()))
            throw py::value_error("image must be of dtype uint8, not " + py::str(array.dtype()).cast<std::string>());
        if (array.ndim() != 3 || array.shape(2) != 3 || array.shape(0) < 1 || array.shape(1) < 1)
            throw py::value_error("image must be an H x W x 3 array");
        pixels = py::array_t<uint8_t, py::array::c_style>::ensure(array);
        request.mPixels = pixels.data();
        request.mHeight = pixels.shape(0);
        request.mWidth = pixels.shape(1);
    }

    PointsAndDescriptors result =
        WithoutGil([&](std::vector<LogRecord>& log) { return RunExtraction(request, log); });
    return py::make_tuple(ToNumpy(result.mPoints), ToNumpy(result.mDescriptors));
}

const char* const sModuleDoc = R"(Interest points, local descriptors and codebook projection.

The same pipeline as the lumisk command line, on numpy arrays and without files.
Options are the command line's option names as keyword arguments
(ds_scales="6-4", keepLimited=500, noRandomizeSeed=True, borderWidth=5); an unknown
name raises ValueError. A lumisk.ini in the current directory applies as it does to
the command line. Errors raise ValueError, OSError or RuntimeError with the logged
message; the log goes to the logger "lumisk" of Python's logging (silent unless
configured).

Threads: the GIL is released while an image is processed and every call has options
of its own, so a thread pool of Python threads (concurrent.futures.ThreadPoolExecutor)
extracts several images in parallel, each call with its own options and exactly the
result it gives alone. Calls that use a dataServer run one at a time.)";

const char* const sExtractDoc = R"(extract(image, detector="harrislaplace", descriptor="sift", **options) -> (points, descriptors)

image: an H x W x 3 uint8 RGB array, or a file name (JPEG, PNG, raw array), decoded as
the command line decodes it. Returns float64 arrays of shapes (n, 5) and (n, length):
x, y, scale, orientation, cornerness per point, coordinates 1-based as in the files,
and the descriptors: exactly what a run with --outputFormat binary writes.)";

const char* const sProjectDoc = R"(project(image, codebook, detector="harrislaplace", descriptor="sift", **options) -> (points, vectors)

codebook: a float64 array of words x descriptor length, or the name of a file that
--codebook takes (raw array, descriptor file or table file; mode "forest" needs its
table file of trees). Returns what a --codebook run writes (one row per spatial cell,
or per point in the per-point modes). Options as for extract, also codebookMode,
pointSelector, codebookSigma, descriptorReduce; the modes that load further files take
codebookName and data as the command line does.)";

} // namespace

} // namespace Python
} // namespace Tavlin

PYBIND11_MODULE(lumisk, module)
{
    using namespace Tavlin::Python;
    module.doc() = sModuleDoc;
    LogRecords::Install();
    py::module_::import("logging").attr("getLogger")("lumisk").attr("addHandler")(
        py::module_::import("logging").attr("NullHandler")());

    py::register_exception_translator([](std::exception_ptr thrown) {
        try
        {
            if (thrown)
                std::rethrow_exception(thrown);
        }
        catch (const ModuleError& error)
        {
            PyObject* type = error.GetKind() == ModuleError::kValue ? PyExc_ValueError
                             : error.GetKind() == ModuleError::kOS  ? PyExc_OSError
                                                                    : PyExc_RuntimeError;
            PyErr_SetString(type, error.what());
        }
    });

    module.def(
        "extract",
        [](const py::object& image, const std::string& detector, const std::string& descriptor,
           const py::kwargs& options) {
            ExtractionRequest request;
            return Run(request, image, detector, descriptor, options);
        },
        py::arg("image"), py::arg("detector") = "harrislaplace", py::arg("descriptor") = "sift", sExtractDoc);

    module.def(
        "project",
        [](const py::object& image, const py::object& codebook, const std::string& detector,
           const std::string& descriptor, const py::kwargs& options) {
            ExtractionRequest request;
            Matrix words;
            if (IsPath(codebook))
                request.mCodebookFile = PathOf(codebook);
            else
            {
                words = FromNumpy(codebook, "codebook", -1);
                request.mCodebook = &words;
            }
            return Run(request, image, detector, descriptor, options);
        },
        py::arg("image"), py::arg("codebook"), py::arg("detector") = "harrislaplace", py::arg("descriptor") = "sift",
        sProjectDoc);

    module.def(
        "read_descriptors",
        [](const py::object& path) {
            const std::string name = PathOf(path);
            PointsAndDescriptors result =
                WithoutGil([&](std::vector<LogRecord>& log) { return ReadDescriptorFile(name, log); });
            return py::make_tuple(ToNumpy(result.mPoints), ToNumpy(result.mDescriptors));
        },
        py::arg("path"),
        "read_descriptors(path) -> (points, descriptors): a BINDESC1 or VESK1 file, as it stands (1-based).");

    module.def(
        "write_descriptors",
        [](const py::object& path, const py::object& points, const py::object& descriptors, bool binary) {
            const std::string name = PathOf(path);
            const Matrix pointRows = FromNumpy(points, "points", 5);
            Matrix descriptorRows;
            const bool withDescriptors = !descriptors.is_none();
            if (withDescriptors)
            {
                descriptorRows = FromNumpy(descriptors, "descriptors", -1);
                if (descriptorRows.mRows != pointRows.mRows)
                    throw py::value_error("points and descriptors must have the same number of rows");
            }
            WithoutGil([&](std::vector<LogRecord>& log) {
                WriteDescriptorFile(name, pointRows, withDescriptors ? &descriptorRows : nullptr, binary, log);
                return 0;
            });
        },
        py::arg("path"), py::arg("points"), py::arg("descriptors") = py::none(), py::arg("binary") = true,
        "write_descriptors(path, points, descriptors=None, binary=True): BINDESC1 (or VESK1 text) as the "
        "command line writes it; points in file coordinates (1-based).");
}
