// Writes the seed inputs of the model, option, data-server and pipeline targets into
// <dir>/<Target>/, made with the project's own writers wherever it has one:
//   MakeCorpusModelsAndStreams fuzz/corpus
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "Link/GMM/gmm.h"
#include "core/array/ArrayFactories.h"
#include "core/array/WriteRaw.h"
#include "core/feature/PointDescriptorIO.h"
#include "core/feature/codebook/RandomTree.h"
#include "util/Channel.h"
#include "util/IOBuffer.h"
#include "util/PropertySet.h"

using namespace Tavlin;
using Core::Array::Array2dReal64;

namespace
{

std::string sRoot;

void Save(const std::string& target, const std::string& name, const std::string& bytes)
{
    const std::string dir = sRoot + "/" + target;
    mkdir(dir.c_str(), 0755);
    const std::string path = dir + "/" + name;
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
        std::cerr << "cannot write " << path << std::endl;
    if (file)
        std::fclose(file);
}

// What a writer put into a memory buffer, from its start to its position.
std::string Written(Util::IOBuffer& buffer)
{
    const int64_t end = buffer.GetPosition();
    std::string bytes(static_cast<size_t>(end), '\0');
    buffer.Rewind();
    bytes.resize(static_cast<size_t>(buffer.Read(&bytes[0], end)));
    return bytes;
}

std::string Frame(const std::string& body)
{
    std::string frame(Util::Channel::sHeadSize, '\0');
    Util::Channel::WriteHead(&frame[0], Util::Channel::sHeadSize + static_cast<int>(body.size()));
    return frame + body;
}

std::string Text(const std::string& text)
{
    return text + std::string(1, '\0');
}

Array2dReal64* Matrix(int width, const std::vector<double>& values)
{
    const int height = static_cast<int>(values.size()) / width;
    Array2dReal64* m = Core::Array::ArrayCreate<Array2dReal64>(width, height, 0, 0);
    std::memcpy(m->mData, values.data(), values.size() * sizeof(double));
    return m;
}

// A table file of a Quid column and a vector column, laid out as the table reader
// takes it: a zero-padded header block, filler, then two raw arrays.
std::string TableFile(Core::Feature::FeatureTable& table)
{
    const int rows = table.Size();
    const int length = table.GetVectorLength();
    std::string header = "tavlintableversion: 2, columns: 2, size: " + std::to_string(rows) +
                         "\ncolumn1: object\ncolumn2: values\ninfo: random forest\n";
    header.resize(1024, '\0');
    header += std::string(128, '\0');

    std::vector<uint64_t> words;
    for (int i = 0; i < rows; ++i)
        words.push_back(table.GetQuid(i).GetFirst());
    for (int i = 0; i < rows; ++i)
        words.push_back(table.GetQuid(i).GetSecond());
    std::string quids = "version: 1, binary: 1, type: uint64, elemSize: 1, width: " + std::to_string(rows) +
                        ", height: 2, nr: 1";
    quids.resize(200, '\0');
    quids.append(reinterpret_cast<const char*>(words.data()), words.size() * sizeof(uint64_t));

    std::vector<double> values;
    for (int i = 0; i < rows; ++i)
        values.insert(values.end(), table.GetVector(i), table.GetVector(i) + length);
    std::unique_ptr<Array2dReal64> vectors(Matrix(length, values));
    Util::IOBuffer buffer(1 << 16);
    Core::Array::WriteRaw(vectors.get(), &buffer, 1);
    return header + quids + Written(buffer);
}

void Forests()
{
    typedef std::vector<std::vector<double>> Rows;
    const Rows forests[] = {
        {{0, -1, -1}},
        {{-1, 7, 0.5}, {0, -1, -1}, {1, -1, -1}},
        {{-1, 0, 10}, {0, -1, -1}, {1, -1, -1}, {-1, 2, 5}, {-1, 1, -3}, {2, -1, -1}, {3, -1, -1}, {4, -1, -1}}};
    int n = 0;
    for (const Rows& rows : forests)
    {
        Core::Feature::RandomTreeTable trees(static_cast<int>(rows.size()));
        for (size_t i = 0; i < rows.size(); ++i)
        {
            trees.mColumn1.mData[i] = static_cast<int>(rows[i][0]);
            trees.mColumn2.mData[i] = static_cast<int>(rows[i][1]);
            trees.mColumn3.mData[i] = rows[i][2];
        }
        trees.SetSize(static_cast<int>(rows.size()));
        std::unique_ptr<Core::Feature::FeatureTable> table(Core::Feature::MakeFeatureTable(&trees));
        Save("RandomForestFuzz", "forest" + std::to_string(++n), TableFile(*table));
    }
}

template <class T>
void Mixture(const std::string& name, char width, int ngauss, int ndim)
{
    std::vector<std::vector<T>> means, vars;
    std::vector<T*> meanRows, varRows;
    std::vector<T> coef;
    for (int j = 0; j < ngauss; ++j)
    {
        means.emplace_back(ndim, T(j));
        vars.emplace_back(ndim, T(0.5 + j));
        coef.push_back(T(1) / ngauss);
    }
    for (int j = 0; j < ngauss; ++j)
    {
        meanRows.push_back(means[j].data());
        varRows.push_back(vars[j].data());
    }
    gaussian_mixture<T> model(ngauss, ndim);
    model.set(meanRows, varRows, coef);
    const std::string path = sRoot + "/mixture.tmp";
    model.save(path.c_str());
    FILE* file = std::fopen(path.c_str(), "rb");
    std::string bytes(1, width);
    char block[4096];
    size_t n;
    while (file && (n = std::fread(block, 1, sizeof(block), file)) > 0)
        bytes.append(block, n);
    if (file)
        std::fclose(file);
    std::remove(path.c_str());
    Save("GaussianMixtureFuzz", name, bytes);
}

void PropertySets()
{
    Util::PropertySet set;
    set.Add("detector", "harrislaplace");
    set.Add("descriptor", "opponentsift");
    set.Add("keepLimited", "100");
    set.Add("recGauss", "no");
    Util::IOBuffer buffer(1 << 12);
    Util::Write(&set, &buffer);
    const std::string pairs = Written(buffer);
    Save("PropertySetFuzz", "pairs", pairs);
    Save("PropertySetFuzz", "scored", "value: 0.8125\n" + pairs);
}

void IniFiles()
{
    Save("IniFileFuzz", "ini", "# settings\nverb 1\nlogPriority \"WARN\"\nownKey some value\n");
    Save("IniFileFuzz", "iniAndArgs",
         std::string("descriptor sift\n  data \"a b\"\n") + std::string(1, '\0') +
             "image.jpg\n--descriptor\n\"csift\"\n-v\n2\n--showProgress\n--data::x\nprefix");
}

void ChannelReplies()
{
    // The first byte picks the client's action; the frames are the server's answers.
    Save("ChannelFuzz", "texts",
         std::string(1, '\0') + Frame(Text("a.txt")) + Frame(Text("ERROR Unable to find a.txt")) + Frame("") +
             Frame(Text("dir/a.txt")));
    Save("ChannelFuzz", "copy",
         std::string(1, '\1') + Frame(Text("3 12")) + Frame("hello\nworld\n") + Frame("") + Frame(Text("OK")));
    Save("ChannelFuzz", "pieces",
         std::string(1, '\2') + Frame(Text("4 40")) + Frame("12 3.5 -7\nfirst line\n") + Frame(Text("10")) +
             Frame("3.5 -7") + Frame(Text("OK")));
    Save("ChannelFuzz", "write",
         std::string(1, '\3') + Frame(Text("5 0")) + Frame(Text("OK")) + Frame(Text("OK")) + Frame(Text("0")) +
             Frame(Text("OK")));
    Save("ChannelFuzz", "deliver",
         std::string(1, '\4') + Frame(Text("6 0")) + Frame(Text("OK")) + Frame(Text("OK")));
}

void ServerRequests()
{
    const std::string login = "PortMode read=\"fuzzread\" write=\"fuzzwrite\"";
    // Even first byte: a raw stream of frames.
    Save("DataServerFuzz", "stream",
         std::string(1, '\0') + Frame(Text(login)) + Frame(Text("getreadablefile a.txt .;dir")) +
             Frame(Text("openfilebuffer \"a.txt\" 1")) + Frame(Text("readfilebuffer 1 10")) +
             Frame(Text("seekfilebuffer 1 3 0")) + Frame(Text("closefilebuffer 1")) +
             Frame(Text("unknown request")) + Frame(std::string("no zero")));
    // Odd first byte: one request per line, "@" the last file opened.
    Save("DataServerFuzz", "lines",
         std::string(1, '\1') + Text(login) + "\n" + Text("openfilebuffer \"dir/b.raw\" 1") + "\n" +
             Text("readfilebuffer @ 100") + "\n" + Text("seekfilebuffer @ 250 0") + "\n" +
             Text("readfilebuffer @ 100") + "\n" + Text("closefilebuffer @") + "\n" +
             Text("domkdirpath x/y .") + "\n" + Text("getwritablefile x/y/c.txt . 0 0") + "\n" +
             Text("openfilebuffer x/y/c.txt 0") + "\n" + Text("writefilebuffer @") + "written" + "\n" +
             Text("getreadablefile in .") + "\n" + Text("openfilebuffer out/x 1") + "\n" +
             Text("PortAssignment"));
    Save("DataServerFuzz", "denied",
         std::string(1, '\1') + Text("PortMode read=\"wrong\"") + "\n" + Text("openfilebuffer a.txt 1") + "\n" +
             Text("PortMode read=\"\"") + "\n" + Text("PortMode"));
}

// A regions file in both forms, behind the five choice bytes of the pipeline target.
void Regions()
{
    std::unique_ptr<Array2dReal64> points(
        Matrix(5, {8, 8, 2.5, 0, 0.1, 4, 12, 1.2, 0.7, 0.2, 15, 3, 6, -2, 0.3, 1, 1, 100, 40, 1}));
    std::unique_ptr<Array2dReal64> descriptors(Matrix(2, {1, 2, 3, 4, 5, 6, 7, 8}));
    Util::IOBuffer binary(1 << 14), text(1 << 14);
    Core::Feature::WriteBINDESC1ToBuffer(&binary, points.get(), descriptors.get(), "CIRCLE  ");
    Core::Feature::WriteVESK1ToBuffer(&text, points.get(), descriptors.get(), "CIRCLE");
    const std::string binaryBytes = Written(binary);
    const std::string textBytes = Written(text);
    // descriptor, width, height, pixels and SURF sizes, grids and format
    const unsigned char choices[][5] = {{0, 16, 16, 0x25, 0x0a}, {6, 20, 12, 0x25, 0x23}, {9, 9, 23, 7, 0x42},
                                        {14, 23, 23, 0x39, 0x00}, {2, 0, 0, 1, 0xe1},  {12, 5, 17, 3, 0x2c}};
    int n = 0;
    for (const auto& choice : choices)
    {
        const std::string head(reinterpret_cast<const char*>(choice), 5);
        ++n;
        Save("PipelineFuzz", "regions" + std::to_string(n), head + (n % 2 ? binaryBytes : textBytes));
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
    {
        std::cerr << "usage: " << argv[0] << " <corpus directory>" << std::endl;
        return 2;
    }
    sRoot = argv[1];
    mkdir(sRoot.c_str(), 0755);
    Forests();
    Mixture<float>("float", 0, 2, 3);
    Mixture<double>("double", 1, 3, 2);
    Mixture<float>("single", 0, 1, 1);
    PropertySets();
    IniFiles();
    ChannelReplies();
    ServerRequests();
    Regions();
    return 0;
}
