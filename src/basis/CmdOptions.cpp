#include "basis/CmdOptions.h"

#include <cctype>
#include <cstdlib>
#include <iostream>

#include "basis/FileName.h"
#include "basis/LogSystem.h"
#include "basis/Report.h"
#include "basis/String.h"

namespace Tavlin
{

namespace
{
const char* const sVersion = "12.02.00";
const char* const sSvnVersion = "6818";
const char* const sReadFromIni = "read from ini file";

thread_local CmdOptions* tThreadOptions = nullptr;

std::string BaseOfProgram(const std::string& program)
{
    size_t slash = program.rfind('/');
    size_t backslash = program.rfind('\\');
    size_t sep = slash;
    if (sep == std::string::npos || (backslash != std::string::npos && backslash > sep))
        sep = backslash;
    std::string rest = sep == std::string::npos ? program : program.substr(sep + 1);
    size_t dot = rest.rfind('.');
    if (dot != std::string::npos)
        rest = rest.substr(0, dot);
    return rest;
}

// Drops the first and last character; a text of one character becomes empty.
std::string StripEnds(const std::string& text)
{
    return text.size() < 2 ? std::string() : text.substr(1, text.size() - 2);
}
} // namespace

CmdOptions& CmdOptions::GetInstance()
{
    if (CmdOptions* own = tThreadOptions)
        return *own;
    static CmdOptions sInstance;
    return sInstance;
}

CmdOptionsScope::CmdOptionsScope() : mOptions(new CmdOptions()), mPrevious(tThreadOptions)
{
    tThreadOptions = mOptions.get();
}

CmdOptionsScope::~CmdOptionsScope()
{
    tThreadOptions = mPrevious;
}

CmdOptions::CmdOptions()
{
    AddConstructorRows();
}

void CmdOptions::AddConstructorRows()
{
    AddOption('v', "verb", "level", "0");
    AddOption(0, "debug", "", "0");
    AddOption(0, "debugCat", "categories separated with ';' or ':'", "");
    AddOption(0, "logPriority", "DEBUG|INFO|WARN|ERROR", "");
    AddOption(0, "logProperties", "fileName", "./log4cpp.properties");
    AddOption(0, "logFile", "fileName", "");
    AddOption(0, "logLayout", "layoutPattern", "%d{%a%d %H:%M:%S,%l} %-5p [%c %x] %m%n");
    AddOption(0, "noErrorLog", "", "0");
    AddOption(0, "jobErrorLog", "fileName", "");
    AddOption(0, "exitOnErrorLogged", "", "0");
    AddOption(0, "logFlushOutput", "flag", "0");
    AddOption(0, "showProgress", "flag", "1");
    AddOption(0, "ini", "filename", "");
}

void CmdOptions::Reset()
{
    mShortName.clear();
    mName.clear();
    mDefault.clear();
    mValue.clear();
    mArgName.clear();
    mChoices.clear();
    mHidden.clear();
    mArgs.clear();
    mAllArgs.clear();
    AddConstructorRows();
}

void CmdOptions::AddOption(char shortName, const char* name, const char* argName, const char* defaultValue,
                           const char* choices, bool fromEnvironment)
{
    std::string value = defaultValue ? defaultValue : "";
    if (fromEnvironment)
    {
        const char* env = std::getenv(name);
        if (!env)
        {
            std::string upper = name;
            for (char& c : upper)
                c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            env = std::getenv(upper.c_str());
        }
        if (env)
            value = env;
    }
    mShortName.push_back(shortName);
    mName.push_back(name);
    mDefault.push_back(value);
    mValue.push_back(value);
    mArgName.push_back(argName ? argName : "");
    mChoices.push_back(choices ? choices : "");
    mHidden.push_back(false);
}

void CmdOptions::Initialise(bool windowAndVideo, bool imageProcessing, bool repository)
{
    if (windowAndVideo)
    {
        AddOption(0, "wndWidth", "size", "-1");
        AddOption(0, "wndHeight", "size", "-1");
        AddOption(0, "viewScale", "scale", "1.0");
        AddOption('s', "src", "type", "", "dx|avi|lavc|lavcnoidx|lavcwithidx|lavcwriteidx");
        AddOption(0, "srcWindow", "type", "", "size;3;copyreal|size;5;rgb2ooo|size;5;gauss;0.75;0;0;3.0");
        AddOption(0, "step", "", "0");
        AddOption(0, "loop", "", "0");
        AddOption(0, "startFrame", "nr", "0");
        AddOption(0, "stepSize", "nr", "1");
        AddOption(0, "numberFrames", "nr", "-1");
        AddOption(0, "delay", "nrFrames", "0");
        AddOption(0, "jmp", "type", "pos", "pos|pts");
        AddOption(0, "fixIdx", "Fix Broken indexes for LAVC", "1");
        AddOption(0, "writeInfo", "", "0");
    }
    if (imageProcessing)
    {
        AddOption(0, "sigma", "val", "1.0");
        AddOption(0, "precision", "val", "3.0");
        AddOption(0, "recGauss", "", "0");
        AddOption(0, "disp", "mode", "LogMagnitude");
        AddOption(0, "logScale", "val", "32.0");
    }
    if (repository)
    {
        AddOption(0, "data", "path", ".", nullptr, true);
        AddOption(0, "dataServer", "machine:port", "", nullptr, true);
        AddOption(0, "mapi", "machine:port[:db]", "", nullptr, true);
        AddOption(0, "config", "directory", "${TAVLINROOT}/src", nullptr, true);
        AddOption(0, "passwordFile", "filename", ".passwords", nullptr, true);
        AddOption(0, "videoSet", "filename", "", nullptr, true);
        AddOption(0, "videoSetsRepository", "filename", "videosets.txt", nullptr, true);
        AddOption(0, "imageSet", "filename", "", nullptr, true);
        AddOption(0, "imageSetsRepository", "filename", "imagesets.txt", nullptr, true);
        AddOption(0, "override", "", "0");
        AddOption(0, "vectorWriteMode", "mode", "-1");
        AddOption(0, "daKeepPartsOnDisk", "", "0");
        AddOption(0, "fromStore", "", "0");
        AddOption(0, "toStore", "", "0");
        AddOption(0, "registerQuids", "quids", "");
        AddOption(0, "storeType", "nr", "1");
        AddOption(0, "featureStorePartSize", "nr", "1024");
        AddOption(0, "similarityStorePartSize", "nr", "102400");
        AddOption(0, "ignoreMissing", "", "0");
        AddOption(0, "noReadLock", "", "0");
    }
    AddOption(0, "tmpPath", "folder", "");
    AddOption(0, "cudaDevice", "index", "0");
    AddOption(0, "cudaOff", "", "0");
    AddOption(0, "noFeatureCache", "", "0");
}

int CmdOptions::Find(const std::string& name) const
{
    for (size_t i = 0; i < mName.size(); ++i)
    {
        if (name.size() == 1 && name[0] == mShortName[i])
            return static_cast<int>(i);
        if (name == mName[i])
            return static_cast<int>(i);
    }
    return -1;
}

bool CmdOptions::IsFlag(const std::string& name) const
{
    const int index = Find(name);
    return index >= 0 && mArgName[index].empty();
}

bool CmdOptions::ParseArgs(int argc, char** argv, const std::string& usage, int minArgs)
{
    std::vector<std::string> args(argv, argv + argc);
    if (args.size() >= 2 && args[1] == "--version")
    {
        std::cout << "Tavlin version " << sVersion << ", svnversion " << sSvnVersion << ", build on " << __DATE__
                  << " at " << __TIME__ << std::endl;
        return false;
    }
    std::string message = DoParseArgs(args, minArgs);
    ConfigureLogSystem();
    if (message.empty())
        return true;
    static log4cpp::Category& sLog = log4cpp::Category::getInstance("Tavlin.CmdOptions");
    TLOG_ERROR(sLog, message);
    ShowUsage(args.empty() ? std::string() : args[0], usage);
    return false;
}

std::string CmdOptions::DoParseArgs(const std::vector<std::string>& args, int minArgs)
{
    const int entries = static_cast<int>(args.size());
    if (entries <= minArgs)
    {
        for (const std::string& arg : args)
            std::cout << arg << std::endl;
        return "Need more arguments: " + std::to_string(entries - 1) + " found, " + std::to_string(minArgs) +
               " expected";
    }

    std::string iniName = BaseOfProgram(args[0]) + ".ini";
    for (int i = 1; i < entries; ++i)
    {
        if (args[i] != "--ini")
            continue;
        if (i + 1 >= entries || StringStartsWith(args[i + 1], "-"))
            return "Missing value for --ini";
        iniName = args[i + 1];
        if (!FileExists(iniName))
            return "Couldn't open ini file " + iniName;
        break;
    }

    for (const auto& [key, value] : ReadConfigFile(iniName))
    {
        int index = Find(key);
        if (index >= 0)
            mValue[index] = value;
        else
            AddOption(0, key.c_str(), sReadFromIni, value.c_str());
    }

    for (int i = 1; i < entries; ++i)
    {
        const std::string& arg = args[i];
        mAllArgs.push_back(arg);
        if (arg == "-h" || arg == "--help")
            return "help";

        if (arg.empty() || arg[0] != '-')
        {
            mArgs.push_back(!arg.empty() && arg[0] == '"' ? StripEnds(arg) : arg);
            continue;
        }

        std::string name = arg.substr(arg.rfind('-', 2) + 1);
        if (StringStartsWith(name, "data::"))
            AddOption(0, name.c_str(), "prefixPath", "");
        else if (StringStartsWith(name, "dataServer::"))
            AddOption(0, name.c_str(), "otherServer", "");

        int index = Find(name);
        if (index < 0)
            return "Unknown option --" + name;

        if (mArgName[index].empty())
        {
            mValue[index] = "1";
            continue;
        }

        if (i + 1 >= entries || StringStartsWith(args[i + 1], "-"))
            return "Missing value for --" + name;
        ++i;
        std::string value = args[i];
        mAllArgs.push_back(value);
        if (!value.empty() && value[0] == '"')
        {
            while (value.back() != '"')
            {
                if (i + 1 >= entries)
                    return "Quoted string not terminated";
                ++i;
                value += " " + args[i];
            }
            value = StripEnds(value);
            if (!value.empty() && value[0] == '"')
                value = StripEnds(value);
        }
        mValue[index] = value;
    }

    if (static_cast<int>(mArgs.size()) < minArgs)
        return "Need more arguments";
    return "";
}

void CmdOptions::ShowUsage(const std::string& programName, const std::string& usage)
{
    std::ostream& out = std::cout;
    out << "\n";
    out << "Usage : " << programName << " " << usage << "\n";
    out << "\n";
    out << "  Options:\n";
    out << "    -h  --help\n";
    out << "        --version\n";
    for (size_t i = 0; i < mName.size(); ++i)
    {
        if (mHidden[i] || mArgName[i] == sReadFromIni)
            continue;
        if (mShortName[i])
            out << "    -" << mShortName[i];
        else
            out << "      ";
        out << "  --" << mName[i] << " " << mArgName[i];
        if (!mDefault[i].empty())
            out << " [default: " << mDefault[i] << "]";
        if (!mChoices[i].empty())
            out << " [" << mArgName[i] << " in " << mChoices[i] << "]";
        out << "\n";
    }
    out.flush();
}

void CmdOptions::ConfigureLogSystem()
{
    LogSystemConfig config;
    config.mLogPriority = GetString("logPriority", "");
    config.mLogProperties = GetString("logProperties", "");
    config.mLogLayout = GetString("logLayout", "");
    config.mLogFile = GetString("logFile", "");
    config.mLogFlushOutput = GetBool("logFlushOutput");
    config.mLogLevel = Find("logLevel") < 0 ? -1 : GetInt("logLevel", -1);
    config.mDebug = GetBool("debug");
    config.mDebugCat = GetString("debugCat", "");
    for (char& c : config.mDebugCat)
        if (c == ':')
            c = ';';
    config.mNoErrorLog = GetBool("noErrorLog");
    config.mJobErrorLog = GetString("jobErrorLog", "");
    config.mExitOnErrorLogged = GetBool("exitOnErrorLogged");
    LogSystem::GetInstance().Configure(config);
}

std::string CmdOptions::GetString(std::string name, std::string defaultValue)
{
    int index = Find(name);
    return index < 0 ? defaultValue : mValue[index];
}

bool CmdOptions::GetBool(const std::string& name)
{
    int index = Find(name);
    if (index < 0)
        return false;
    const std::string& value = mValue[index];
    return atoi(value) != 0 || value == "yes" || value == "true";
}

int CmdOptions::GetInt(const std::string& name, int defaultValue)
{
    int index = Find(name);
    return index < 0 ? defaultValue : atoi(mValue[index]);
}

void CmdOptions::HideOption(const std::string& name)
{
    int index = Find(name);
    if (index >= 0)
        mHidden[index] = true;
}

std::string CmdOptions::GetArg(size_t i)
{
    if (i >= mArgs.size())
    {
        std::cout << "CmdOptions: no argument " << i << std::endl;
        return "";
    }
    return mArgs[i];
}

std::string CmdOptions::GetArgFile(size_t i)
{
    std::string arg = GetArg(i);
    if (arg == "nil" || arg == "empty")
        return "";
    return arg;
}

std::map<std::string, std::string> ReadConfigFile(const std::string& fileName)
{
    std::map<std::string, std::string> result;
    std::vector<std::string> lines;
    FileReadString(lines, fileName, true, false);
    for (const std::string& line : lines)
    {
        if (line.empty() || line[0] == '#')
            continue;
        size_t pos = line.find_first_not_of(' ');
        if (pos == std::string::npos)
            continue;
        size_t keyEnd = line.find(' ', pos);
        if (keyEnd == std::string::npos)
            continue;
        std::string key = line.substr(pos, keyEnd - pos);
        pos = line.find_first_not_of(' ', keyEnd);
        std::string value;
        if (pos != std::string::npos)
        {
            size_t end;
            if (line[pos] == '"')
            {
                ++pos;
                end = line.find('"', pos);
            }
            else
            {
                end = line.find(' ', pos);
            }
            value = line.substr(pos, end == std::string::npos ? std::string::npos : end - pos);
        }
        result[key] = value;
    }
    return result;
}

} // namespace Tavlin
