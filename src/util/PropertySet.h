// An ordered set of key/value strings: the snapshot of all options that configures a
// feature, and the one-line "key=value " text form used in files. Keys are unique;
// lookups walk the vectors, which suits the few dozen keys in use.
#ifndef TAVLIN_UTIL_PROPERTYSET_H
#define TAVLIN_UTIL_PROPERTYSET_H

#include <ostream>
#include <string>
#include <vector>

namespace Tavlin
{
namespace Persistency
{
class File;
}

namespace Util
{

class IOBuffer;

class PropertySet
{
public:
    // Replaces the value of an existing key, otherwise appends the pair.
    void Add(const std::string& key, const std::string& value);

    std::string GetString(const std::string& key, std::string defaultValue) const;
    // atoi of the value; a missing key or an empty value gives the default.
    int GetInt(const std::string& key, int defaultValue) const;
    // False only for an empty value, "0", "false" and "no".
    bool GetBool(const std::string& key) const;

    // Replaces the content by the key=value words of the text; a word without "="
    // ends the parse, keeping what came before.
    void Parse(const std::string& text);

    size_t Size() const { return mKeys.size(); }
    const std::string& GetKey(size_t i) const { return mKeys[i]; }
    const std::string& GetValue(size_t i) const { return mValues[i]; }

private:
    std::vector<std::string> mKeys;
    std::vector<std::string> mValues;
};

// Adds every pair of source to target; existing keys take the new value in place.
void Append(PropertySet* target, const PropertySet* source);

// Adds the pairs of the buffer's next line to set. A line holding ":" is the older
// scored form "value: <number>", whose number becomes the key "value", followed by a
// line of pairs.
void Read(PropertySet* set, IOBuffer* buffer);
// False when the file gives no buffer.
bool Read(PropertySet* set, Persistency::File file);
// The text form in one line; false for a null or invalid buffer.
bool Write(PropertySet* set, IOBuffer* buffer);
bool Write(PropertySet* set, Persistency::File file);

// The text form: key=value and one blank per pair.
std::ostream& operator<<(std::ostream& out, const PropertySet& set);

} // namespace Util
} // namespace Tavlin

#endif
