// The machine services' part in birth.

#ifndef INDEP_MACHINE_MACHINE_H
#define INDEP_MACHINE_MACHINE_H

// Fills in U_G_CPU_DataP's record and logs it. Throws std::bad_alloc, with the
// processor's flags in place.
void Up_DetectCPU();

// Chooses the clock, unless it has been chosen.
void Up_InitTiming();

#endif
