// The tables of escaped characters, for birth.

#ifndef INDEP_DATA_XML_ESCAPES_H
#define INDEP_DATA_XML_ESCAPES_H

// Fills the tables, which stay for good. Throws std::bad_alloc.
void Up_MakeXMLEscapes();

#endif
