// Identifier of a media item in two 64-bit words: class byte (top 8 bits of the
// second word), set number (top 24 bits of the first), object number (low 40 bits of
// the first) and id (low 40 bits of the second).
#ifndef TAVLIN_UTIL_QUID_H
#define TAVLIN_UTIL_QUID_H

#include <cstdint>
#include <ostream>

namespace Tavlin
{

class Quid
{
public:
    explicit Quid(uint64_t first = 0, uint64_t second = 0) : mFirst(first), mSecond(second) {}
    static Quid FromParts(uint64_t classByte, uint64_t set, uint64_t object, uint64_t id)
    {
        return Quid(((set & 0xffffffULL) << 40) | (object & sLow40),
                    ((classByte & 0xffULL) << 56) | (id & sLow40));
    }

    uint64_t GetFirst() const { return mFirst; }
    uint64_t GetSecond() const { return mSecond; }
    int GetClass() const { return static_cast<int>(mSecond >> 56); }
    uint64_t GetSet() const { return mFirst >> 40; }
    uint64_t GetObject() const { return mFirst & sLow40; }
    uint64_t GetId() const { return mSecond & sLow40; }

    bool operator==(const Quid& other) const { return mFirst == other.mFirst && mSecond == other.mSecond; }
    bool operator!=(const Quid& other) const { return !(*this == other); }

private:
    static constexpr uint64_t sLow40 = (1ULL << 40) - 1;
    uint64_t mFirst;
    uint64_t mSecond;
};

// class:set:object:id
inline std::ostream& operator<<(std::ostream& out, const Quid& quid)
{
    return out << quid.GetClass() << ":" << quid.GetSet() << ":" << quid.GetObject() << ":" << quid.GetId();
}

} // namespace Tavlin

#endif
