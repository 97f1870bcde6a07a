#include "basis/StringList.h"

namespace Tavlin
{

StringList::StringList(const std::string& text, char separator, bool keepEmpty)
{
    std::string piece;
    for (char c : text)
    {
        if (c == separator)
        {
            if (keepEmpty || !piece.empty())
                push_back(piece);
            piece.clear();
        }
        else
        {
            piece += c;
        }
    }
    if (!piece.empty())
        push_back(piece);
    if (empty())
        push_back("");
}

} // namespace Tavlin
