// Ways to die.

#ifndef TESTS_CRASH_CRASHES_H
#define TESTS_CRASH_CRASHES_H

void WriteToNull();
void OverflowStack();
void RunIllegalInstruction();
void DivideByZero();
void ReadBeyondFile(); // of a file that is mapped
void SendSegmentationFault();
void ThrowException(); // that nobody catches
void Terminate();
void CallPureVirtual();
void GiveInvalidParameter();

#endif
