// Writes findings for editors and for programs.

#ifndef ZDICT_LINT_REPORT_H
#define ZDICT_LINT_REPORT_H

#include <cstddef>
#include <string>

#include "lint/findings.h"

// Returns the finding as editors read it: file:line:column: severity: message [name].
std::string LineOf(const Finding& finding);
std::string LineOf(const Finding& finding, Severity severity);

// Returns a line for each finding, and a line with their counts.
std::string AsText(const Findings& findings, std::size_t files);

// Returns a document with an array of the findings and a summary.
std::string AsJSON(const Findings& findings, std::size_t files);

#endif
