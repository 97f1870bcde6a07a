#include "FuzzSupport.h"

#include <cstring>
#include <ostream>
#include <streambuf>

#include <log4cpp/Category.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>

namespace FuzzSupport
{

namespace
{

class DropBuffer : public std::streambuf
{
protected:
    int overflow(int c) override { return c == traits_type::eof() ? 0 : c; }
    std::streamsize xsputn(const char*, std::streamsize count) override { return count; }
};

// Filled through the block itself: Write() would leave out a last single byte.
class FilledBuffer : public Tavlin::Util::IOBuffer
{
public:
    FilledBuffer(const uint8_t* data, size_t size) : IOBuffer(static_cast<int64_t>(size))
    {
        if (size > 0)
            std::memcpy(mBuffer, data, size);
    }
};

} // namespace

void QuietLogging()
{
    static DropBuffer sDrop;
    static std::ostream sNull(&sDrop);
    log4cpp::Category& root = log4cpp::Category::getRoot();
    root.removeAllAppenders();
    log4cpp::Appender* appender = new log4cpp::OstreamAppender("fuzz", &sNull);
    log4cpp::PatternLayout* layout = new log4cpp::PatternLayout();
    layout->setConversionPattern("%p %c: %m%n");
    appender->setLayout(layout);
    root.addAppender(appender);
    // As the programs run by default: debug lines (one per array allocation) would
    // make the harness, not the reader, slow.
    root.setPriority(log4cpp::Priority::INFO);
}

std::unique_ptr<Tavlin::Util::IOBuffer> BufferOf(const uint8_t* data, size_t size)
{
    return std::unique_ptr<Tavlin::Util::IOBuffer>(new FilledBuffer(data, size));
}

void Touch(const double* values, int64_t count)
{
    double sum = 0;
    for (int64_t i = 0; i < count; ++i)
        sum += values[i];
    volatile double sink = sum;
    (void)sink;
}

void Touch(const Tavlin::Core::Array::Array2dReal64* array)
{
    if (!array)
        return;
    for (long long y = 0; y < array->Height(); ++y)
        Touch(array->PixelPtr(0, y), array->Width());
}

} // namespace FuzzSupport
