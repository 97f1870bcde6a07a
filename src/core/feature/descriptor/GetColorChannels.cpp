#include "core/feature/descriptor/GetColorChannels.h"

#include <cmath>
#include <cstdlib>
#include <memory>
#include <set>

#include "basis/Report.h"
#include "basis/String.h"
#include "basis/StringList.h"
#include "core/array/Color.h"
#include "core/array/ElementWise.h"
#include "core/array/PixSum.h"
#include "core/array/ProjectRange.h"
#include "core/feature/FeatureImageTypes.h"
#include "util/StringParser.h"

namespace Tavlin
{
namespace Core
{
namespace Feature
{

namespace
{

typedef std::unique_ptr<Array2dReal64> PlanePtr;

// A new borderless plane of the image's size with f(R, G, B) at every pixel.
template <class F>
Array2dReal64* MapPixels(Array2dVec3Real64* image, F f)
{
    Array2dReal64* plane = new Array2dReal64(image->mWidth, image->mHeight, 0, 0);
    for (long long y = 0; y < image->mHeight; ++y)
    {
        const double* s = image->PixelPtr(0, y);
        double* d = plane->PixelPtr(0, y);
        for (long long x = 0; x < image->mWidth; ++x)
            d[x] = f(s[3 * x], s[3 * x + 1], s[3 * x + 2]);
    }
    return plane;
}

// A new borderless plane with f(a, b) at every pixel of two planes.
template <class F>
Array2dReal64* Combine(Array2dReal64* a, Array2dReal64* b, F f)
{
    Array2dReal64* plane = new Array2dReal64(a->mWidth, a->mHeight, 0, 0);
    for (long long y = 0; y < a->mHeight; ++y)
    {
        const double* pa = a->PixelPtr(0, y);
        const double* pb = b->PixelPtr(0, y);
        double* d = plane->PixelPtr(0, y);
        for (long long x = 0; x < a->mWidth; ++x)
            d[x] = f(pa[x], pb[x]);
    }
    return plane;
}

Array2dReal64* Channel(Array2dVec3Real64* image, int dimension)
{
    Array2dReal64* plane = new Array2dReal64(image->mWidth, image->mHeight, 0, 0);
    Array::ProjectRange(plane, image, dimension);
    return plane;
}

double Luminance(double r, double g, double b) { return 0.212671 * r + 0.71516 * g + 0.072169 * b; }

// (a R + b G + c B) / (d R + e G + f B + g), the denominator 1 where it is near 0.
struct Ratio
{
    double w[7];
    double operator()(double r, double g, double b) const
    {
        double den = w[3] * r + w[4] * g + w[5] * b + w[6];
        if (std::fabs(den) < 0.001)
            den = 1.0;
        return (w[0] * r + w[1] * g + w[2] * b) / den;
    }
};

Ratio Linear(double a, double b, double c) { return Ratio{{a, b, c, 0, 0, 0, 1}}; }

// E, El, Ell of the opponent model, on the 0 to 255 scale.
struct Opponent
{
    PlanePtr e, el, ell;

    explicit Opponent(Array2dVec3Real64* image)
    {
        std::unique_ptr<Array2dVec3Real64> o(new Array2dVec3Real64(image->mWidth, image->mHeight, 0, 0));
        for (long long y = 0; y < image->mHeight; ++y)
        {
            const double* s = image->PixelPtr(0, y);
            double* d = o->PixelPtr(0, y);
            for (long long x = 0; x < image->mWidth; ++x)
            {
                const double r = s[3 * x];
                const double g = s[3 * x + 1];
                const double b = s[3 * x + 2];
                d[3 * x] = (0.000233846 * r + 0.00261968 * g + 0.00127135 * b) * 255;
                d[3 * x + 1] = (0.000726333 * r + 0.000718106 * g - 0.00121377 * b) * 255;
                d[3 * x + 2] = (0.000846833 * r - 0.00173932 * g + 0.000221515 * b) * 255;
            }
        }
        e.reset(Channel(o.get(), 1));
        el.reset(Channel(o.get(), 2));
        ell.reset(Channel(o.get(), 3));
    }

    // (E + 1) / M, M the image's maximum of E, taken as 1 when its integer part is 0.
    Array2dReal64* Denominator() const
    {
        double m = 0.0;
        for (long long y = 0; y < e->mHeight; ++y)
        {
            const double* p = e->PixelPtr(0, y);
            for (long long x = 0; x < e->mWidth; ++x)
                if (p[x] > m)
                    m = p[x];
        }
        // The test is on the integer part as a 32-bit int. A maximum beyond that range
        // would convert to INT_MIN on x86 and fail the test; it is caught first, since
        // the conversion itself is undefined.
        if (m >= 2147483648.0 || !(std::abs(static_cast<int>(m)) >= 1e-6))
            m = 1.0;
        const double scale = 1.0 / m;
        Array2dReal64* d = new Array2dReal64(e->mWidth, e->mHeight, 0, 0);
        for (long long y = 0; y < e->mHeight; ++y)
        {
            const double* p = e->PixelPtr(0, y);
            double* q = d->PixelPtr(0, y);
            for (long long x = 0; x < e->mWidth; ++x)
                q[x] = (p[x] + 1.0) * scale;
        }
        return d;
    }
};

// nr, ng, nb: each channel over R + G + B, a third each where the sum vanishes.
struct Chromaticity
{
    PlanePtr nr, ng, nb;

    explicit Chromaticity(Array2dVec3Real64* image)
    {
        auto part = [](int c) {
            return [c](double r, double g, double b) {
                const double s = r + g + b;
                if (std::fabs(s) < 1e-5)
                    return 1.0 / 3.0;
                return (c == 0 ? r : (c == 1 ? g : b)) / s;
            };
        };
        nr.reset(MapPixels(image, part(0)));
        ng.reset(MapPixels(image, part(1)));
        nb.reset(MapPixels(image, part(2)));
    }
};

// Centred on the mean and scaled by a quarter of the inverse deviation, around 0.5.
Array2dReal64* Standardised(Array2dReal64* plane)
{
    const double count = static_cast<double>(plane->mWidth * plane->mHeight);
    const double mean = Array::PixSum(plane) / count;
    Array2dReal64* centred = nullptr;
    Array::AddVal(centred, plane, -mean);
    PlanePtr centredOwner(centred);
    Array2dReal64* squares = nullptr;
    Array::Mul(squares, centred, centred);
    PlanePtr squaresOwner(squares);
    const double deviation = std::sqrt(Array::PixSum(squares) / count);
    const double f = deviation < 1e-5 ? 0.25 : 0.25 * (1.0 / deviation);
    return Combine(centred, centred, [f](double c, double) { return c * f + 0.5; });
}

double SeedNumber(const std::string& text)
{
    if (!text.empty() && text[0] == 'm')
        return -atof(text.substr(1));
    return atof(text);
}

void AppendNamedChannels(Array2dVec3Real64* image, const std::string& rest, std::vector<Array2dReal64*>& out,
                         log4cpp::Category& log)
{
    const StringList tokens(rest, '-');
    const std::set<std::string> asked(tokens.begin(), tokens.end());
    auto has = [&asked](const char* token) { return asked.count(token) > 0; };
    auto any = [&has](std::initializer_list<const char*> group) {
        for (const char* t : group)
            if (has(t))
                return true;
        return false;
    };

    // The fixed order of the named channels, whatever the order in the name; each
    // group's planes are made only when one of its channels is asked for.
    PlanePtr r, g, b;
    if (any({"rg", "rb", "gb", "rm", "ry", "gy", "p1", "p2", "p3"}))
    {
        r.reset(Channel(image, 1));
        g.reset(Channel(image, 2));
        b.reset(Channel(image, 3));
    }
    auto minus = [](double u, double v) { return u - v; };
    auto plus = [](double u, double v) { return u + v; };
    if (has("i"))
        out.push_back(MapPixels(image, Luminance));
    if (has("r"))
        out.push_back(Channel(image, 1));
    if (has("g"))
        out.push_back(Channel(image, 2));
    if (has("b"))
        out.push_back(Channel(image, 3));
    if (has("rg"))
        out.push_back(Combine(r.get(), g.get(), minus));
    if (has("rb"))
        out.push_back(Combine(r.get(), b.get(), minus));
    if (has("gb"))
        out.push_back(Combine(g.get(), b.get(), minus));
    if (has("rm"))
        out.push_back(Combine(r.get(), g.get(), plus));
    if (has("ry"))
        out.push_back(Combine(r.get(), b.get(), plus));
    if (has("gy"))
        out.push_back(Combine(g.get(), b.get(), plus));
    if (any({"o1", "o2", "c1", "c2"}))
    {
        Opponent o(image);
        auto shifted = [](double v, double) { return v * 0.0125 + 0.5; };
        if (has("o1"))
            out.push_back(Combine(o.el.get(), o.el.get(), shifted));
        if (has("o2"))
            out.push_back(Combine(o.ell.get(), o.ell.get(), shifted));
        if (has("c1") || has("c2"))
        {
            PlanePtr d(o.Denominator());
            auto scaled = [](double v, double den) { return (v / den) * 0.0011111111111111111 + 0.5; };
            if (has("c1"))
                out.push_back(Combine(o.el.get(), d.get(), scaled));
            if (has("c2"))
                out.push_back(Combine(o.ell.get(), d.get(), scaled));
        }
    }
    if (any({"nr", "ng", "nb"}))
    {
        Chromaticity n(image);
        if (has("nr"))
            out.push_back(n.nr.release());
        if (has("ng"))
            out.push_back(n.ng.release());
        if (has("nb"))
            out.push_back(n.nb.release());
    }
    const char* angleNames[3] = {"p1", "p2", "p3"};
    Array2dReal64* first[3] = {r.get(), r.get(), g.get()};
    Array2dReal64* second[3] = {g.get(), b.get(), b.get()};
    for (int i = 0; i < 3; ++i)
        if (has(angleNames[i]))
        {
            // atan2 with the first plane first; a NaN becomes 0.
            Array2dReal64* plane = new Array2dReal64(image->mWidth, image->mHeight, 0, 0);
            Array::Atan2(plane, first[i], second[i]);
            out.push_back(plane);
        }

    std::set<std::string> seen;
    for (const std::string& token : tokens)
    {
        if (!StringStartsWith(token, "seed") || !seen.insert(token).second)
            continue;
        Util::StringParser parser(token.substr(4));
        const double a = SeedNumber(parser.GetString(',', false));
        const double b = SeedNumber(parser.GetString(',', false));
        const double c = SeedNumber(parser.GetString(',', false));
        TLOG_DEBUG(log, "Seed a " << a << " b " << b << " c " << c);
        out.push_back(MapPixels(image, Linear(a, b, c)));
    }
}

} // namespace

std::vector<Array2dReal64*> GetColorChannels(Array2dVec3Real64* image, std::string colorModel)
{
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Core.Feature.GetColorChannels");
    TLOG_DEBUG(sLog, "colorModel=" << colorModel);
    std::vector<Array2dReal64*> out;
    std::string name = colorModel;
    if (name == "t")
        name = "tunechan-seed1,2,0-seed1,m2,1-seed1,m2,2-seed2,1,m2-seed2,m1,m2-seed2,m2,m1-";

    if (name == "" || name == "no" || name == "rg" || name == "hsv")
        out.push_back(MapPixels(image, Luminance));
    if (name == "rg")
    {
        Chromaticity n(image);
        out.push_back(n.nr.release());
        out.push_back(n.ng.release());
    }
    if (name == "opponent")
    {
        Opponent o(image);
        out.push_back(o.e.release());
        out.push_back(o.el.release());
        out.push_back(o.ell.release());
    }
    if (name == "w" || name == "c")
    {
        Opponent o(image);
        PlanePtr d(o.Denominator());
        auto divide = [](double v, double den) { return v / den; };
        Array2dReal64* el = Combine(o.el.get(), d.get(), divide);
        Array2dReal64* ell = Combine(o.ell.get(), d.get(), divide);
        out.push_back(d.release());
        out.push_back(el);
        out.push_back(ell);
    }
    if (name == "hsv")
    {
        auto hsi = [](int component, double factor) {
            return [component, factor](double r, double g, double b) {
                const Array::Element::Color c(r, g, b, Array::Element::ColorModelRgb);
                return c.Convert(Array::Element::ColorModelHsi)[component] * factor;
            };
        };
        out.push_back(MapPixels(image, hsi(0, 0.15915494327375637)));
        out.push_back(MapPixels(image, hsi(1, 1.0)));
    }
    if (name == "transformedcolor")
    {
        for (int dimension = 1; dimension <= 3; ++dimension)
        {
            PlanePtr plane(Channel(image, dimension));
            out.push_back(Standardised(plane.get()));
        }
    }
    if (name == "rgb")
    {
        for (int dimension = 1; dimension <= 3; ++dimension)
            out.push_back(Channel(image, dimension));
    }
    if (name == "extopponent")
    {
        const double w[6][3] = {{0, 0.10044, -0.994943},        {-0.912005, 0.299405, -0.280362},
                                {-0.56365, 0.0846022, 0.82167}, {0.56365, -0.247118, 0.788182},
                                {0.912005, -0.23733, -0.334546}, {0.2126, 0.7152, 0.0722}};
        for (const auto& row : w)
            out.push_back(MapPixels(image, Linear(row[0], row[1], row[2])));
    }
    if (name == "exopponent")
    {
        const double w[6][3] = {{0.707107, 0, -0.707107},         {-0.169759, 0.776534, -0.606775},
                                {-0.812024, 0.479925, 0.332099},  {-0.332099, -0.479925, 0.812024},
                                {0.606775, -0.776534, 0.169759},  {1, 1, 1}};
        for (const auto& row : w)
            out.push_back(MapPixels(image, Linear(row[0], row[1], row[2])));
    }
    if (StringStartsWith(name, "tunergb"))
    {
        const StringList items(name.substr(7), '+');
        for (const std::string& item : items)
        {
            if (item.empty())
                continue;
            Util::StringParser parser(item);
            Ratio ratio;
            for (double& w : ratio.w)
                w = parser.GetDouble('x', false);
            out.push_back(MapPixels(image, ratio));
        }
    }
    if (!StringStartsWith(name, "tunechan-"))
        return out;
    const std::string rest = name.substr(9);
    if (!rest.empty())
        AppendNamedChannels(image, rest, out, sLog);
    return out;
}

std::vector<Array2dReal64*> GetColorChannels(Array2dVec3UInt8* image, std::string colorModel)
{
    std::unique_ptr<Array2dVec3Real64> converted(new Array2dVec3Real64(image->mWidth, image->mHeight, 0, 0));
    for (long long y = 0; y < image->mHeight; ++y)
    {
        const unsigned char* s = image->PixelPtr(0, y);
        double* d = converted->PixelPtr(0, y);
        for (long long i = 0; i < image->mWidth * 3; ++i)
            d[i] = s[i];
    }
    return GetColorChannels(converted.get(), colorModel);
}

} // namespace Feature
} // namespace Core
} // namespace Tavlin
