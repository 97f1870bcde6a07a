#include "basis/FileName.h"

#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <mutex>

#include "basis/CmdOptions.h"
#include "basis/Report.h"

namespace Tavlin
{

namespace
{

size_t LastSeparator(const std::string& path)
{
    size_t slash = path.rfind('/');
    size_t backslash = path.rfind('\\');
    if (slash == std::string::npos)
        return backslash;
    if (backslash == std::string::npos)
        return slash;
    return slash > backslash ? slash : backslash;
}

// Owns a stdio stream and a line buffer for FileReadString.
class File
{
public:
    File(const std::string& name, const char* mode, size_t bufferSize)
        : mStream(std::fopen(name.c_str(), mode)), mBuffer(new char[bufferSize]), mSize(bufferSize)
    {
    }
    ~File()
    {
        if (mStream)
            std::fclose(mStream);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool IsOpen() const { return mStream != nullptr; }
    // One line or a piece of it; false at end of file.
    bool GetLine() { return std::fgets(mBuffer.get(), static_cast<int>(mSize), mStream) != nullptr; }
    char* Line() { return mBuffer.get(); }

private:
    FILE* mStream;
    std::unique_ptr<char[]> mBuffer;
    size_t mSize;
};

} // namespace

bool FileExists(const std::string& name)
{
    FILE* f = std::fopen(name.c_str(), "r");
    if (!f)
        return false;
    std::fclose(f);
    return true;
}

std::string FileNameConcat(const std::string& dir, const std::string& file)
{
    if (dir.empty() || dir == ".")
        return file;
    if (file.empty())
        return dir;
    if (dir.back() == '/')
        return dir + file;
    return dir + "/" + file;
}

std::string FileNameBase(const std::string& path)
{
    size_t sep = LastSeparator(path);
    size_t start = 0;
    if (sep != std::string::npos)
    {
        if (sep + 1 == path.size())
            return "";
        start = sep + 1;
    }
    size_t dot = path.rfind('.');
    if (dot != std::string::npos && dot >= start)
        return path.substr(start, dot - start);
    return path.substr(start);
}

std::string FileNameExt(const std::string& path, bool lowerCase)
{
    size_t dot = path.rfind('.');
    if (dot == std::string::npos || dot + 1 == path.size())
        return "";
    size_t sep = LastSeparator(path);
    if (sep != std::string::npos && dot < sep)
        return "";
    std::string ext = path.substr(dot + 1);
    if (lowerCase)
        for (char& c : ext)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

std::string PathJoin(std::string a, std::string b)
{
    size_t pos = a.find('\\');
    if (pos != std::string::npos)
        a[pos] = '/';
    pos = b.find('\\');
    if (pos != std::string::npos)
        b[pos] = '/';
    if (a.empty() || (!b.empty() && b[0] == '/'))
        return b;
    if (a.back() == '/')
        return a + b;
    return a + "/" + b;
}

std::string GetTmpPath()
{
    // Worked out once, on whichever thread asks first.
    static std::mutex sMutex;
    std::lock_guard<std::mutex> lock(sMutex);
    static std::string sPath = "*";
    if (sPath != "*")
        return sPath;
    std::string path = CmdOptions::GetInstance().GetString("tmpPath", "");
    if (!path.empty())
    {
        if (path.back() == '/' || path.back() == '\\')
            path.pop_back();
        // Quoted so that a folder name with blanks or shell characters stays one argument.
        std::string command = "mkdir -p '";
        for (char c : path)
            command += c == '\'' ? std::string("'\\''") : std::string(1, c);
        command += "'";
        if (std::system(command.c_str()) != 0)
        {
            static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.Basis.FileNameTmp");
            TLOG_INFO(sLog, "Can't create tempFolder " << path << ", using .");
            path = ".";
        }
    }
    sPath = path;
    return sPath;
}

std::string FileNameTmp()
{
    static std::atomic<int> sCounter{0};
    char host[257] = {0};
    gethostname(host, 256);
    char name[512];
    std::snprintf(name, sizeof(name), "tmpFile_%s_%d_%d", host, static_cast<int>(getpid()), sCounter++);
    return PathJoin(GetTmpPath(), name);
}

void FileReadString(std::vector<std::string>& out, const std::string& fileName, bool skipEmpty, bool report)
{
    File file(fileName, "r", 100000);
    if (!file.IsOpen())
    {
        if (report)
            std::cout << "Error opening (mode = r) file " << fileName << std::endl;
        return;
    }
    while (file.GetLine())
    {
        char* line = file.Line();
        if (skipEmpty && (line[0] == '#' || line[0] == '\r' || line[0] == '\0'))
            continue;
        std::string text(line);
        while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
            text.pop_back();
        if (skipEmpty && text.empty())
            continue;
        out.push_back(text);
    }
}

} // namespace Tavlin
