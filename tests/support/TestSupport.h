// Helpers shared by the tests: temporary directories, small files, and running the
// lumisk and lumisk-train binaries with their output and exit status captured.
#ifndef LUMISK_TESTS_SUPPORT_TESTSUPPORT_H
#define LUMISK_TESTS_SUPPORT_TESTSUPPORT_H

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace TestSupport
{

// A fresh directory under the system's temporary folder, removed with its content.
class TempDir
{
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return mPath; }
    std::string File(const std::string& name) const { return mPath + "/" + name; }

private:
    std::string mPath;
};

void WriteTextFile(const std::string& path, const std::string& text);
std::string ReadTextFile(const std::string& path);
// The bytes of an input that fuzzing found for `reader`, kept under tests/data/fuzz.
std::string FuzzFinding(const std::string& reader, const std::string& name);
bool PathExists(const std::string& path);

struct RunResult
{
    int status = -1;
    std::string out;
    std::string err;
};

// Runs the lumisk binary with the given arguments in `directory`; `env` entries of the
// form NAME=value are added to the environment.
RunResult RunLumisk(const std::vector<std::string>& args, const std::string& directory,
                    const std::vector<std::string>& env = {});
// The same for the lumisk-train binary.
RunResult RunLumiskTrain(const std::vector<std::string>& args, const std::string& directory,
                         const std::vector<std::string>& env = {});
RunResult RunProgram(const char* binary, const std::vector<std::string>& args, const std::string& directory,
                     const std::vector<std::string>& env = {});

// Number of occurrences of `what` in `text`.
int CountOf(const std::string& text, const std::string& what);
// `what` occurs in `text`; the failure shows the text.
::testing::AssertionResult Has(const std::string& text, const std::string& what);

// Owns the raw pointers that an interface hands out in a vector.
template <class T>
class Owned
{
public:
    Owned() = default;
    explicit Owned(std::vector<T*> items) : p(std::move(items)) {}
    ~Owned()
    {
        for (T* item : p)
            delete item;
    }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;

    std::vector<T*> p;
};

} // namespace TestSupport

#endif
