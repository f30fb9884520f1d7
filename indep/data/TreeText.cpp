// Trees written: as JSON, and for people.

#include "U_AnyTree.h"

#include <utility>

#include "indep/data/JSONText.h"

// Writes a tree as JSON into one text.
class Up_JSONWriter
{
public:
    U_UTF16String& WriteTree(const U_AnyTree& tree, char open, char close)
    {
        mJSON.push_back(static_cast<U_u16>(open));
        bool isFirst = true;
        for (const auto& [key, child] : tree)
        {
            if (!isFirst)
                mJSON.push_back(',');
            isFirst = false;
            if (!key.empty())
            {
                AppendJSONString(key, &mJSON);
                mJSON.push_back(':');
            }
            WriteNode(child);
        }
        mJSON.push_back(static_cast<U_u16>(close));
        return mJSON;
    }

private:
    void WriteNode(const U_AnyTree& node)
    {
        if (node.data().GetType() != U_Any::kType_Tree)
            node.data().AppendJSON(&mJSON);
        else if (node.empty())
            AppendASCII("null", &mJSON);
        else if (U_AnyTreeWrapper(node).is_array())
            WriteTree(node, '[', ']');
        else
            WriteTree(node, '{', '}');
    }

    U_UTF16String mJSON;
};

namespace
{
void AppendLines(const U_AnyTree& tree, std::size_t level, U_UTF16String* text)
{
    for (const auto& [key, child] : tree)
    {
        text->append(level, '\t');
        *text += key;
        AppendASCII(": ", text);
        *text += child.data().GetAs_Str();
        text->push_back('\n');
        AppendLines(child, level + 1, text);
    }
}
} // namespace

U_UTF16String U_AnyTreeWrapper::GetAs_JSON() const
{
    return std::move(Up_JSONWriter().WriteTree(*mTree, '{', '}'));
}

U_UTF16String U_AnyTreeWrapper::GetAs_Str() const
{
    U_UTF16String text;
    AppendLines(*mTree, 0, &text);
    return text;
}
