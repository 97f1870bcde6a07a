// The process-wide table of named options: registration with help texts and defaults,
// environment lookup, ini files, command-line parsing and the usage listing. A table of
// parallel vectors rather than a map, because the usage listing keeps registration order.
// Sources apply in order default (or environment), ini file, command line.
#ifndef TAVLIN_BASIS_CMDOPTIONS_H
#define TAVLIN_BASIS_CMDOPTIONS_H

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Tavlin
{

class CmdOptions
{
public:
    // The calling thread's table while a CmdOptionsScope of it lives, else the
    // process-wide one.
    static CmdOptions& GetInstance();
    virtual ~CmdOptions() = default;

    void AddOption(char shortName, const char* name, const char* argName, const char* defaultValue,
                   const char* choices = nullptr, bool fromEnvironment = false);

    // Registers the optional groups (window and video, image processing, repository)
    // and the four rows that are always added.
    void Initialise(bool windowAndVideo, bool imageProcessing, bool repository);

    // Parses, configures logging, and on failure logs the message and shows the usage.
    // False also for --version and --help.
    bool ParseArgs(int argc, char** argv, const std::string& usage, int minArgs);
    // Returns the empty string on success, otherwise the message.
    std::string DoParseArgs(const std::vector<std::string>& args, int minArgs);
    void ShowUsage(const std::string& programName, const std::string& usage);
    void ConfigureLogSystem();

    std::string GetString(std::string name, std::string defaultValue);
    // True for a non-zero number, "yes" and "true"; false for an unknown option.
    bool GetBool(const std::string& name);
    int GetInt(const std::string& name, int defaultValue);
    void HideOption(const std::string& name);
    std::string GetArg(size_t i);
    // As GetArg, with "nil" and "empty" standing for no file.
    std::string GetArgFile(size_t i);

    // A known option that takes no value: given, it is "1".
    bool IsFlag(const std::string& name) const;

    size_t GetOptionCount() const { return mName.size(); }
    const std::string& GetOptionName(size_t i) const { return mName[i]; }
    size_t GetArgCount() const { return mArgs.size(); }
    const std::vector<std::string>& GetAllArgs() const { return mAllArgs; }

    // Forgets every option and argument and registers the constructor rows again.
    void Reset();

private:
    friend class CmdOptionsScope;

    CmdOptions();
    CmdOptions(const CmdOptions&) = delete;
    CmdOptions& operator=(const CmdOptions&) = delete;

    void AddConstructorRows();
    int Find(const std::string& name) const;

    std::vector<char> mShortName;
    std::vector<std::string> mName;
    std::vector<std::string> mDefault;
    std::vector<std::string> mValue;
    std::vector<std::string> mArgName;
    std::vector<std::string> mChoices;
    std::vector<bool> mHidden;
    std::vector<std::string> mArgs;
    std::vector<std::string> mAllArgs;
};

// Gives the calling thread a fresh table of its own for as long as it lives, so that
// configurations of one process can run side by side (the Python module's calls); other
// threads, and this one afterwards, see the table they saw before.
class CmdOptionsScope
{
public:
    CmdOptionsScope();
    ~CmdOptionsScope();
    CmdOptionsScope(const CmdOptionsScope&) = delete;
    CmdOptionsScope& operator=(const CmdOptionsScope&) = delete;

private:
    std::unique_ptr<CmdOptions> mOptions;
    CmdOptions* mPrevious;
};

// Lines of "key value" (value optionally in double quotes); later lines win; a missing
// file gives an empty map.
std::map<std::string, std::string> ReadConfigFile(const std::string& fileName);

} // namespace Tavlin

#endif
