// The read and write passwords of a data-server site, from a password file of two
// lines, "read=<password>" and "write=<password>" in any order. The name is tried as
// it stands, then below $TAVLINROOT. No password is part of the program.
#ifndef TAVLIN_UTIL_CHANNELAUTHORIZATION_H
#define TAVLIN_UTIL_CHANNELAUTHORIZATION_H

#include <string>

namespace Tavlin
{
namespace Util
{

class ChannelAuthorization
{
public:
    explicit ChannelAuthorization(const std::string& passwordFile);

    bool Valid() const { return mValid; }
    const std::string& GetReadPassword() const { return mReadPassword; }
    const std::string& GetWritePassword() const { return mWritePassword; }

private:
    bool mValid;
    std::string mReadPassword;
    std::string mWritePassword;
};

} // namespace Util
} // namespace Tavlin

#endif
