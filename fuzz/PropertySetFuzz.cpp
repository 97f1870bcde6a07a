// Property sets from arbitrary bytes: the line reader of the settings files (with the
// older scored form), the one-line parser, the typed lookups and the text form written
// back and read again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <sstream>
#include <string>

#include "FuzzSupport.h"
#include "util/PropertySet.h"

using Tavlin::Util::PropertySet;

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::QuietLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::unique_ptr<Tavlin::Util::IOBuffer> buffer = FuzzSupport::BufferOf(data, size);
    PropertySet read;
    // A file of several lines: every one read, as a reader going through the file would.
    for (int line = 0; line < 8 && buffer->Available() > 0; ++line)
        Tavlin::Util::Read(&read, buffer.get());

    PropertySet parsed;
    parsed.Parse(std::string(reinterpret_cast<const char*>(data), size));
    Tavlin::Util::Append(&parsed, &read);
    for (size_t i = 0; i < parsed.Size(); ++i)
    {
        parsed.GetInt(parsed.GetKey(i), -1);
        parsed.GetBool(parsed.GetKey(i));
    }

    // The text form parses back to the same pairs: keys hold no "=", and neither keys
    // nor values hold blanks. Through a buffer too, unless a ":" makes it the scored form.
    std::ostringstream text;
    text << parsed;
    PropertySet again;
    again.Parse(text.str());
    bool same = again.Size() == parsed.Size();
    for (size_t i = 0; same && i < parsed.Size(); ++i)
        same = again.GetKey(i) == parsed.GetKey(i) && again.GetValue(i) == parsed.GetValue(i);
    if (!same)
        std::abort();

    std::unique_ptr<Tavlin::Util::IOBuffer> out(new Tavlin::Util::IOBuffer(static_cast<int64_t>(text.str().size()) + 2));
    Tavlin::Util::Write(&parsed, out.get());
    out->Rewind();
    PropertySet fromBuffer;
    Tavlin::Util::Read(&fromBuffer, out.get());
    // The buffer takes text up to a zero byte only.
    if (text.str().find_first_of(std::string(":\0", 2)) == std::string::npos && fromBuffer.Size() != parsed.Size())
        std::abort();
    return 0;
}
