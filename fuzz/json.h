// JSON as the targets write and read it.

#ifndef FUZZ_JSON_H
#define FUZZ_JSON_H

#include <cstdlib>
#include <string>

#include "U_AnyTree.h"
#include "U_Encoding.h"
#include "library.h"
#include "require.h"

// Returns the tree that was read before the end, a wrong literal or the depth limit.
inline U_AnyTree ReadJSON(const U_UTF16String& json)
{
    U_AnyTree tree;
    try
    {
        U_AnyTreeWrapper(tree).SetFrom_JSON(json);
    }
    catch (const boost::bad_any_cast&)
    {
    }
    catch (const boost::property_tree::ptree_error&)
    {
    }
    return tree;
}

// The literal of a text. Every third character is escaped if `escapes` is set.
inline U_UTF16String Literal(const U_UTF16String& text, bool escapes = false)
{
    static const char* const kDigits[] = {"0123456789abcdef", "0123456789ABCDEF"};
    U_UTF16String literal = Wide("\"");
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        const bool isHalf = text[i] >> 11 == 0xD800 >> 11;
        if (text[i] == '"' || text[i] == '\\')
            literal += Wide("\\");
        else if (text[i] < ' ' || (escapes && i % 3 == 1 && !isHalf))
        {
            literal += Wide("\\u");
            for (int shift = 12; shift >= 0; shift -= 4)
                literal += static_cast<U_u16>(kDigits[i % 2][text[i] >> shift & 15]);
            continue;
        }
        literal += text[i];
    }
    return literal + Wide("\"");
}

// The unit of the escape at `at`, which moves to its last character.
inline U_u16 Unescaped(const U_UTF16String& json, std::size_t* at)
{
    static const std::string kLetters = "\"\\/bfnrt";
    const std::string rest(json.begin() + static_cast<std::ptrdiff_t>(++*at), json.end());
    if (rest[0] != 'u')
    {
        Require(!rest.empty() && kLetters.find(rest[0]) != kLetters.npos);
        return static_cast<U_u16>("\"\\/\b\f\n\r\t"[kLetters.find(rest[0])]);
    }
    const std::string digits = rest.substr(1, 4);
    Require(digits.size() == 4 && digits.find_first_not_of("0123456789abcdefABCDEF") == rest.npos);
    *at += 4;
    return static_cast<U_u16>(std::strtoul(digits.c_str(), nullptr, 16));
}

// The JSON with the literals as Literal writes them, since a character has several escapes. The
// literals are well formed.
inline U_UTF16String Canonical(const U_UTF16String& json)
{
    U_UTF16String out;
    for (std::size_t i = 0; i < json.size(); ++i)
    {
        if (json[i] != '"')
        {
            out += json[i];
            continue;
        }
        U_UTF16String text;
        for (++i; i < json.size() && json[i] != '"'; ++i)
        {
            Require(json[i] >= ' ');
            text += json[i] == '\\' ? Unescaped(json, &i) : json[i];
        }
        Require(i < json.size());
        out += Literal(text);
    }
    return out;
}

#endif
