// The error subsystem's part in birth and death.

#ifndef INDEP_ERRORS_ERRORS_H
#define INDEP_ERRORS_ERRORS_H

// Makes the posted list, the quiet table and the calling thread's logging
// buffer. Throws std::bad_alloc.
void Up_ErrorsBirth();

// Frees the list and the table; what is still posted is lost.
void Up_ErrorsDeath();

#endif
