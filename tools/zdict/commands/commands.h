// All commands of the program, in alphabetical order. Each has a source of its own.

#ifndef ZDICT_COMMANDS_COMMANDS_H
#define ZDICT_COMMANDS_COMMANDS_H

#include <memory>

#include "command.h"

std::unique_ptr<Command> MakeCheck();
std::unique_ptr<Command> MakeCompile();
std::unique_ptr<Command> MakeCompletion();
std::unique_ptr<Command> MakeDump();
std::unique_ptr<Command> MakeExport();
std::unique_ptr<Command> MakeExtract();
std::unique_ptr<Command> MakeGet();
std::unique_ptr<Command> MakeImport();
std::unique_ptr<Command> MakeKeys();
std::unique_ptr<Command> MakeLint();
std::unique_ptr<Command> MakeMerge();
std::unique_ptr<Command> MakePseudo();
std::unique_ptr<Command> MakeRemove();
std::unique_ptr<Command> MakeStats();
std::unique_ptr<Command> MakeStatus();
std::unique_ptr<Command> MakeUpdate();

#endif
