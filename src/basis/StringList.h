// A text split at a separator character into its pieces, in order.
#ifndef TAVLIN_BASIS_STRINGLIST_H
#define TAVLIN_BASIS_STRINGLIST_H

#include <string>
#include <vector>

namespace Tavlin
{

// Empty pieces are kept only with keepEmpty; a trailing separator never gives an empty
// tail. The empty text gives one empty item in both modes, which callers rely on.
class StringList : public std::vector<std::string>
{
public:
    StringList(const std::string& text, char separator, bool keepEmpty = false);
};

} // namespace Tavlin

#endif
