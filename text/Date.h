// What birth does for dates.

#ifndef TEXT_DATE_H
#define TEXT_DATE_H

// Looks up what lists the system's forms of dates, which it may lack.
void Up_DateBirth();

#endif
