// Crashes on purpose, which show the last call. A crash that does not end the process returns.

#ifndef FILECACHE_CRASHES_H
#define FILECACHE_CRASHES_H

#include <string>

typedef void (*Crash)();

void WriteToNull();
void OverflowStack();
void RunIllegalInstruction();
void DivideByZero();
void ThrowException(); // which nobody catches
void Terminate();
void CallPureVirtual();
void GiveInvalidParameter();
void RunOutOfMemory(); // throws

// Returns the crash of that name on the command line: null, overflow, illegal, division, exception,
// terminate, pure, parameter or memory. Null for any other.
Crash FindCrash(const std::string& name);

// Installs the handler of the last call, which prints a line for the user.
void PrepareLastCall();

#endif
