// The code that a body throws.

#ifndef FUZZ_CODE_THROWN_H
#define FUZZ_CODE_THROWN_H

// Returns the int that the body throws; 0 if it throws none.
template <class Body> int CodeThrown(Body body)
{
    try
    {
        body();
        return 0;
    }
    catch (int code)
    {
        return code;
    }
}

#endif
