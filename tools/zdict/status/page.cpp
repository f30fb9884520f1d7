#include "status/page.h"

#include <algorithm>

#include <platform/base/printable.h>

#include "messages.h"
#include "xml_escape.h"

namespace
{
const std::size_t kMostRows = 1000; // of a list

const char kHead[] = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>Translation status</title>
<style>
:root {
  color-scheme: light dark;
  --ground: #f6f7f9; --card: #fff; --ink: #1c2430; --soft: #5b6675;
  --faint: #a3abb7; --line: #dde2e9;
  --translated: #2f8f5b; --outdated: #d99a1b; --untranslated: #7a86d6; --missing: #d9dee6;
}
@media (prefers-color-scheme: dark) {
  :root {
    --ground: #14181e; --card: #1d232b; --ink: #e6eaf0; --soft: #9aa6b5;
    --faint: #66707e; --line: #323b47;
    --translated: #46b27a; --outdated: #e0ab3f; --untranslated: #8f9be6; --missing: #3a4452;
  }
}
* { box-sizing: border-box; }
body {
  margin: 0 auto; padding: 2rem 1rem 4rem; max-width: 60rem; background: var(--ground);
  color: var(--ink); font: 16px/1.5 system-ui, sans-serif;
}
h1 { margin: 0; font-size: 1.6rem; }
h2 { margin: 0; font-size: 1.15rem; }
h2 small { color: var(--soft); font-size: .85rem; font-weight: normal; }
p.of { margin: .2rem 0 1.5rem; color: var(--soft); }
section, table.all {
  background: var(--card); border: 1px solid var(--line); border-radius: .6rem;
}
section { margin-top: 1.2rem; padding: 1rem 1.2rem; }
table.all { width: 100%; border-collapse: separate; border-spacing: 0; overflow: hidden; }
.all th, .all td { padding: .55rem .8rem; text-align: right; border-top: 1px solid var(--line); }
.all thead th { border: 0; color: var(--soft); font-size: .8rem; font-weight: 600; }
.all th:first-child, .all th:nth-child(2) { text-align: left; }
.all td.none { color: var(--faint); }
.all td { font-variant-numeric: tabular-nums; }
.all td.share { width: 34%; }
.all a { color: inherit; }
.bar {
  display: flex; height: .7rem; border-radius: .35rem; overflow: hidden;
  background: var(--missing);
}
.bar i { display: block; }
.translated { background: var(--translated); }
.outdated { background: var(--outdated); }
.untranslated { background: var(--untranslated); }
.missing { background: var(--missing); }
ul.legend {
  display: flex; flex-wrap: wrap; gap: .3rem 1.2rem; margin: .8rem 0 0; padding: 0;
  list-style: none; color: var(--soft); font-size: .85rem;
}
.legend i {
  display: inline-block; width: .75rem; height: .75rem; margin-right: .4rem;
  border-radius: .2rem; vertical-align: -1px;
}
.head {
  display: flex; justify-content: space-between; gap: 1rem; align-items: baseline;
  margin-bottom: .6rem;
}
.head b { font-size: 1.15rem; font-variant-numeric: tabular-nums; }
details { margin-top: .7rem; }
summary { cursor: pointer; font-weight: 600; }
summary span { color: var(--soft); font-weight: normal; }
.list { overflow-x: auto; }
.list table { width: 100%; margin-top: .5rem; border-collapse: collapse; font-size: .9rem; }
.list th { color: var(--soft); font-size: .8rem; font-weight: 600; text-align: left; }
.list th, .list td {
  padding: .35rem .6rem; border-top: 1px solid var(--line); vertical-align: top;
  white-space: pre-wrap; overflow-wrap: anywhere;
}
.list td:first-child { width: 34%; font: .8rem/1.7 ui-monospace, monospace; }
.list .line { width: 3.5rem; text-align: right; white-space: nowrap; overflow-wrap: normal; }
.list td.line { color: var(--soft); }
p.done { margin: .7rem 0 0; color: var(--soft); }
</style>
</head>
<body>
)";

// A control character has no place in a page.
std::string Escaped(const std::string& text)
{
    std::string result;
    AppendEscaped(platform::Printable(text, "\t\r\n"), kMarkup, &result);
    return result;
}

std::string PartOfBar(const char* name, std::size_t count)
{
    if (!count)
        return std::string();
    return "<i class=\"" + std::string(name) + "\" style=\"flex-grow:" + std::to_string(count) +
           "\"></i>";
}

std::string Bar(const LanguageStatus& status)
{
    const std::string label = std::to_string(status.Percent()) + "% translated";
    return "<div class=\"bar\" role=\"img\" aria-label=\"" + label + "\" title=\"" + label + "\">" +
           PartOfBar("translated", status.mTranslated) +
           PartOfBar("outdated", status.mOutdated.size()) +
           PartOfBar("untranslated", status.mUntranslated.size()) +
           PartOfBar("missing", status.mMissing.size()) + "</div>";
}

std::string Cell(const std::string& content)
{
    return "<td>" + content + "</td>";
}

std::string CountCell(std::size_t count)
{
    return count ? Cell(std::to_string(count)) : "<td class=\"none\">0</td>";
}

std::string Anchor(std::size_t index)
{
    return "language" + std::to_string(index);
}

std::string Overview(const std::vector<LanguageStatus>& languages)
{
    std::string html =
        "<table class=\"all\"><thead><tr><th>Language</th><th>Share</th><th>Translated</th>"
        "<th>Outdated</th><th>Untranslated</th><th>Missing</th><th>Obsolete</th><th>Done</th>"
        "</tr></thead><tbody>\n";
    for (std::size_t i = 0; i < languages.size(); ++i)
    {
        const LanguageStatus& status = languages[i];
        html += "<tr><th scope=\"row\"><a href=\"#" + Anchor(i) + "\">" + Escaped(status.mName) +
                "</a></th><td class=\"share\">" + Bar(status) + "</td>" +
                CountCell(status.mTranslated) + CountCell(status.mOutdated.size()) +
                CountCell(status.mUntranslated.size()) + CountCell(status.mMissing.size()) +
                CountCell(status.mObsolete.size()) + Cell(std::to_string(status.Percent()) + "%") +
                "</tr>\n";
    }
    html += "</tbody></table>\n<ul class=\"legend\">";
    for (const char* name : {"translated", "outdated", "untranslated", "missing"})
        html += "<li><i class=\"" + std::string(name) + "\"></i>" + name + "</li>";
    return html + "</ul>\n";
}

// A list of texts with the columns that it needs. A member pointer names each column.
struct List
{
    const char* mTitle;
    const char* mMeaning;
    std::vector<StatusText> LanguageStatus::*mTexts;
    std::vector<std::pair<const char*, std::string StatusText::*>> mColumns;
};

const List kLists[] = {
    {"Missing",
     "the English text is shown",
     &LanguageStatus::mMissing,
     {{"English", &StatusText::mEnglish}}},
    {"Outdated",
     "fuzzy, or made of an older English text",
     &LanguageStatus::mOutdated,
     {{"Old English", &StatusText::mOldEnglish},
      {"English", &StatusText::mEnglish},
      {"Translation", &StatusText::mTranslation}}},
    {"Untranslated",
     "empty, or the English text itself",
     &LanguageStatus::mUntranslated,
     {{"English", &StatusText::mEnglish}}},
    {"Obsolete",
     "no English text has the key",
     &LanguageStatus::mObsolete,
     {{"Translation", &StatusText::mTranslation}}},
};

std::string AsHTML(const List& list, const LanguageStatus& status)
{
    const std::vector<StatusText>& texts = status.*list.mTexts;
    if (texts.empty())
        return std::string();
    std::string html = "<details><summary>" + std::string(list.mTitle) + ": " +
                       std::to_string(texts.size()) + " <span>– " + list.mMeaning +
                       "</span></summary>\n<div class=\"list\"><table><tr><th>Key</th>";
    for (const auto& column : list.mColumns)
        html += "<th>" + std::string(column.first) + "</th>";
    const bool hasLines = texts.front().mLine != 0;
    html += hasLines ? "<th class=\"line\">Line</th></tr>\n" : "</tr>\n";
    const std::size_t shown = std::min(texts.size(), kMostRows);
    for (std::size_t i = 0; i < shown; ++i)
    {
        html += "<tr>" + Cell(Escaped(texts[i].mKey));
        for (const auto& column : list.mColumns)
            html += Cell(Escaped(texts[i].*column.second));
        if (hasLines)
            html += "<td class=\"line\">" + std::to_string(texts[i].mLine) + "</td>";
        html += "</tr>\n";
    }
    html += "</table></div>";
    if (shown < texts.size())
        html += "<p class=\"done\">and " + std::to_string(texts.size() - shown) + " more</p>";
    return html + "</details>\n";
}

std::string Section(const LanguageStatus& status, std::size_t index)
{
    std::string html = "<section id=\"" + Anchor(index) + "\"><div class=\"head\"><h2>" +
                       Escaped(status.mName) + " <small>" + Escaped(status.mFile) +
                       "</small></h2><b>" + std::to_string(status.Percent()) + "%</b></div>\n" +
                       Bar(status) + "\n";
    std::string lists;
    for (const List& list : kLists)
        lists += AsHTML(list, status);
    return html + (lists.empty() ? "<p class=\"done\">All texts are translated.</p>\n" : lists) +
           "</section>\n";
}
} // namespace

std::string AsPage(const std::vector<LanguageStatus>& languages, const std::string& english)
{
    std::string html = kHead;
    const std::size_t texts = languages.empty() ? 0 : languages.front().mEnglish;
    html += "<h1>Translation status</h1>\n<p class=\"of\">" +
            Counted(languages.size(), "language") + ", " + Counted(texts, "English text") + " in " +
            Escaped(english) + "</p>\n" + Overview(languages);
    for (std::size_t i = 0; i < languages.size(); ++i)
        html += Section(languages[i], i);
    return html + "</body>\n</html>\n";
}
