// Numbers of lines and columns.

#ifndef ZDICT_EXTRACT_LINES_H
#define ZDICT_EXTRACT_LINES_H

#include <cstdint>

class Lines
{
public:
    explicit Lines(const char* source) : mSource(source), mCounted(source), mLineBegin(source) {}

    // Return the number of a byte's line and column, from 1. A query takes time for the bytes
    // between its byte and that of the last query.
    std::uint64_t LineOf(const char* byte);
    std::uint64_t ColumnOf(const char* byte);

private:
    const char* const mSource;
    const char* mCounted;   // lines are counted up to here
    const char* mLineBegin; // of that byte
    std::uint64_t mLine = 1;
};

#endif
