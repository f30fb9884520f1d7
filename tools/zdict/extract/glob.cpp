#include "extract/glob.h"

bool MatchesGlob(const std::string& name, const std::string& glob)
{
    std::size_t at = 0;
    std::size_t pattern = 0;
    std::size_t star = std::string::npos; // the last one
    std::size_t afterStar = 0;            // the first byte of the name that the star does not take
    while (at < name.size())
    {
        if (pattern < glob.size() && glob[pattern] == '*')
        {
            star = pattern++;
            afterStar = at;
        }
        else if (pattern < glob.size() && (glob[pattern] == '?' || glob[pattern] == name[at]))
        {
            ++pattern;
            ++at;
        }
        else if (star != std::string::npos)
        {
            pattern = star + 1;
            at = ++afterStar;
        }
        else
            return false;
    }
    return glob.find_first_not_of('*', pattern) == std::string::npos;
}
