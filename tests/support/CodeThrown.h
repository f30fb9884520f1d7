// What comes out of a body.

#ifndef TESTS_SUPPORT_CODETHROWN_H
#define TESTS_SUPPORT_CODETHROWN_H

// The int that the body throws, 0 for none.
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
