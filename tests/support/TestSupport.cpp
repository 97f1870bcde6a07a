#include "support/TestSupport.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace TestSupport
{

TempDir::TempDir()
{
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/lumisk_test_XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (!mkdtemp(buffer.data()))
        throw std::runtime_error("mkdtemp failed");
    mPath = buffer.data();
}

TempDir::~TempDir()
{
    std::string command = "rm -rf '" + mPath + "'";
    if (std::system(command.c_str()) != 0)
        return;
}

void WriteTextFile(const std::string& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary);
    out << text;
}

std::string ReadTextFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string FuzzFinding(const std::string& reader, const std::string& name)
{
    return ReadTextFile(std::string(LUMISK_TEST_DATA) + "/fuzz/" + reader + "/" + name);
}

bool PathExists(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

RunResult RunLumisk(const std::vector<std::string>& args, const std::string& directory,
                    const std::vector<std::string>& env)
{
    return RunProgram(LUMISK_BINARY, args, directory, env);
}

RunResult RunLumiskTrain(const std::vector<std::string>& args, const std::string& directory,
                         const std::vector<std::string>& env)
{
    return RunProgram(LUMISK_TRAIN_BINARY, args, directory, env);
}

RunResult RunProgram(const char* binary, const std::vector<std::string>& args, const std::string& directory,
                     const std::vector<std::string>& env)
{
    RunResult result;
    std::string outName = directory + "/.run_stdout";
    std::string errName = directory + "/.run_stderr";
    pid_t pid = fork();
    if (pid == 0)
    {
        if (chdir(directory.c_str()) != 0)
            _exit(127);
        int out = open(outName.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err = open(errName.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(out, 1);
        dup2(err, 2);
        for (const std::string& entry : env)
            putenv(strdup(entry.c_str()));
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(binary));
        for (const std::string& arg : args)
            argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        execv(binary, argv.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = ReadTextFile(outName);
    result.err = ReadTextFile(errName);
    unlink(outName.c_str());
    unlink(errName.c_str());
    return result;
}

int CountOf(const std::string& text, const std::string& what)
{
    int count = 0;
    for (size_t pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + what.size()))
        ++count;
    return count;
}

::testing::AssertionResult Has(const std::string& text, const std::string& what)
{
    if (text.find(what) != std::string::npos)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "\"" << what << "\" not in:\n" << text;
}

} // namespace TestSupport
