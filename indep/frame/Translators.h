// The table of exception translators, for birth and death.

#ifndef INDEP_FRAME_TRANSLATORS_H
#define INDEP_FRAME_TRANSLATORS_H

// Makes the table, unless there is one. Throws std::bad_alloc.
void Up_MakeTranslatorTable();
void Up_FreeTranslatorTable();

#endif
