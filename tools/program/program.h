// The start of a program, and its terminal. Texts are UTF-8.

#ifndef PROGRAM_PROGRAM_H
#define PROGRAM_PROGRAM_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

// Prepares the standard streams for bytes and the terminal for UTF-8 and escape sequences, until
// the end of its scope, which is that of main.
class ProgramStart
{
public:
    ProgramStart(int count, char** arguments);
    ~ProgramStart();
    ProgramStart(const ProgramStart&) = delete;
    ProgramStart& operator=(const ProgramStart&) = delete;

    // Returns the arguments, the first of them the program's name.
    const std::vector<std::string>& Arguments() const { return mArguments; }

private:
    std::vector<std::string> mArguments;
    std::shared_ptr<void> mTerminal; // restores the terminal; null if there is nothing to restore
};

// Returns whether the file descriptor is a terminal.
bool IsTerminal(int descriptor);

// Return whether stderr is a terminal that understands escape sequences, and its columns.
//
// REQUIRES: within the scope of a ProgramStart.
bool HasEscapes();
std::size_t TerminalWidth();

#endif
