// Options and operands that several commands have.
//
// Each function declares one, and the parser stores its value. Of an option that is given
// twice, the last value counts. The variables must outlive the parser.

#ifndef ZDICT_COMMAND_OPTIONS_H
#define ZDICT_COMMAND_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "images/code_page.h"

namespace CLI
{
class App;
}

// The first byte of each operand that the parser sees, so that it reads no operand as an option
// or a list. The functions for operands remove the byte.
const char kOperandMark = '\x01';

// Required operands, in the order of the calls. AddOperands takes one or more, and is the last
// call. So are the functions for optional operands.
void AddOperand(CLI::App* app, const char* name, std::string* value, const char* help);
void AddOptionalOperand(CLI::App* app, const char* name, std::string* value, const char* help);
void AddOperands(CLI::App* app, const char* name, std::vector<std::string>* values,
                 const char* help);

void AddOptionalOperands(CLI::App* app, const char* name, std::vector<std::string>* values,
                         const char* help);

void AddFlag(CLI::App* app, const char* name, bool* flag, const char* help);

// An option with any value. `type` is the value's name in the help.
void AddValue(CLI::App* app, const char* name, const char* type, std::string* value,
              const char* help);

// An option that may be repeated; all of its values count.
void AddValues(CLI::App* app, const char* name, const char* type, std::vector<std::string>* values,
               const char* help);

// An option whose value is one of `choices`.
void AddChoice(CLI::App* app, const char* name, const std::vector<std::string>& choices,
               std::string* value, const char* help);

// An option whose value is a decimal number. `thing` is the number's name in messages, as "base".
void AddNumber(CLI::App* app, const char* name, const char* thing, std::uint32_t* number,
               const char* help);
void AddNumber(CLI::App* app, const char* name, const char* thing,
               std::optional<std::uint32_t>* number, const char* help);

// -o. The name is not empty.
void AddOutput(CLI::App* app, std::string* name);

// --locale
void AddLocale(CLI::App* app, std::string* name, const char* help);

// An option whose value is a code page that the program converts.
void AddKnownCodePage(CLI::App* app, const char* name, std::uint32_t* codePage, const char* help);

// --code-page. The page becomes the active one.
void AddCodePage(CLI::App* app, CodePage* codePage);

// --no-check, of the commands that check texts.
void AddNoCheck(CLI::App* app, std::vector<std::string>* names);

struct OptionInfo
{
    std::vector<std::string> mNames; // with their hyphens; none for an operand
    std::string mType;               // of the value; choices are separated by |
    bool mTakesValue;
};

struct CommandInfo
{
    std::string mName;
    std::vector<OptionInfo> mOptions;
};

// Returns the program, and then all commands. `command` is one of them.
std::vector<CommandInfo> CommandsOf(const CLI::App& command);

#endif
