// The option table fed from arbitrary bytes: the part before the first zero byte is the
// ini file, the rest the command line, one word per line. The ini file is read on its
// own and through --ini, and every option is looked up afterwards.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "FuzzIO.h"
#include "FuzzSupport.h"
#include "basis/CmdOptions.h"

namespace
{

const size_t sMaxWords = 32;

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const char* text = reinterpret_cast<const char*>(data);
    const void* zero = std::memchr(text, '\0', size);
    const size_t iniSize = zero ? static_cast<size_t>(static_cast<const char*>(zero) - text) : size;
    const std::string path = FuzzSupport::TempPath("options.ini");
    if (!FuzzSupport::WriteFile(path, data, iniSize))
        return 0;
    Tavlin::ReadConfigFile(path);

    std::vector<std::string> args{"lumisk", "--ini", path};
    if (zero)
    {
        std::string rest(text + iniSize + 1, size - iniSize - 1);
        size_t start = 0;
        while (args.size() < sMaxWords && start <= rest.size())
        {
            size_t end = rest.find('\n', start);
            args.push_back(rest.substr(start, end == std::string::npos ? std::string::npos : end - start));
            if (end == std::string::npos)
                break;
            start = end + 1;
        }
    }

    Tavlin::CmdOptions& options = Tavlin::CmdOptions::GetInstance();
    options.Reset();
    options.Initialise(false, true, true);
    options.DoParseArgs(args, 0);
    for (size_t i = 0; i < options.GetOptionCount(); ++i)
    {
        const std::string name = options.GetOptionName(i);
        options.GetString(name, "");
        options.GetBool(name);
        options.GetInt(name, 0);
        options.IsFlag(name);
    }
    for (size_t i = 0; i < options.GetArgCount(); ++i)
        options.GetArgFile(i);
    unlink(path.c_str());
    return 0;
}
