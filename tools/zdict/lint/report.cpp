#include "lint/report.h"

#include <cstdio>

#include <platform/base/printable.h>

#include "messages.h"

namespace
{
// Returns the text, in UTF-8, as a string of JSON. Bytes that aren't UTF-8 become escapes first.
std::string JSONString(const std::string& text)
{
    std::string result = "\"";
    for (const char byte : platform::Printable(text, "\t\n\r"))
    {
        const auto unit = static_cast<unsigned char>(byte);
        if (byte == '"' || byte == '\\')
            result += std::string("\\") + byte;
        else if (unit < 0x20)
        {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04X", unit);
            result += escape;
        }
        else
            result += byte;
    }
    return result + "\"";
}

std::string Member(const char* name, const std::string& value)
{
    return JSONString(name) + ": " + value;
}

std::string AsJSON(const Finding& finding)
{
    const CheckInfo& info = InfoOf(finding.mCheck);
    return "{" + Member("file", JSONString(finding.mFile)) + ", " +
           Member("line", std::to_string(finding.mLine)) + ", " +
           Member("column", std::to_string(finding.mColumn)) + ", " +
           Member("severity", JSONString(WordOf(info.mSeverity))) + ", " +
           Member("check", JSONString(info.mName)) + ", " +
           Member("key", JSONString(finding.mKey)) + ", " +
           Member("message", JSONString(finding.mMessage)) + "}";
}
} // namespace

std::string LineOf(const Finding& finding)
{
    return LineOf(finding, InfoOf(finding.mCheck).mSeverity);
}

std::string LineOf(const Finding& finding, Severity severity)
{
    const std::string line = finding.mFile + ":" + std::to_string(finding.mLine) + ":" +
                             std::to_string(finding.mColumn) + ": " + WordOf(severity) + ": " +
                             finding.mMessage + " [" + InfoOf(finding.mCheck).mName + "]";
    return platform::Printable(line);
}

std::string AsText(const Findings& findings, std::size_t files)
{
    std::string text;
    for (const Finding& finding : findings.All())
        text += LineOf(finding) + "\n";
    return text + Counted(findings.CountOf(Severity::kError), "error") + ", " +
           Counted(findings.CountOf(Severity::kWarning), "warning") + " in " +
           Counted(files, "file") + "\n";
}

std::string AsJSON(const Findings& findings, std::size_t files)
{
    std::string text = "{\n  \"findings\": [";
    const char* separator = "\n    ";
    for (const Finding& finding : findings.All())
    {
        text += separator + AsJSON(finding);
        separator = ",\n    ";
    }
    return text + (findings.All().empty() ? "],\n" : "\n  ],\n") + "  \"summary\": {" +
           Member("files", std::to_string(files)) + ", " +
           Member("errors", std::to_string(findings.CountOf(Severity::kError))) + ", " +
           Member("warnings", std::to_string(findings.CountOf(Severity::kWarning))) + "}\n}\n";
}
