// Ways to die, to see what comes of them. Those that don't end the process return.

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

// The way of a name of the command line: null, overflow, illegal, division, exception,
// terminate, pure, parameter or memory. Null for any other.
Crash FindCrash(const std::string& name);

// Has the library call the host before the process dies, with a line for the user.
void PrepareLastCall();

#endif
