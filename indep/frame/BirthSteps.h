// Steps of birth that families above this folder provide and no other header declares.

#ifndef INDEP_FRAME_BIRTH_STEPS_H
#define INDEP_FRAME_BIRTH_STEPS_H

// Fills in the record of U_G_CPU_DataP and logs the record.
//
// Throws: std::bad_alloc; the flags of the processor are filled in then.
void Up_DetectCPU();

// Chooses the clock. A clock that an earlier birth has chosen stays.
void Up_InitTiming();

// Fills the tables of escaped XML characters, which are never destroyed.
//
// Throws: std::bad_alloc.
void Up_MakeXMLEscapes();

#endif
