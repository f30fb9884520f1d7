// What threads may need until the process is gone.

#ifndef INDEP_FRAME_IMMORTAL_H
#define INDEP_FRAME_IMMORTAL_H

#include <new>

// The one object of a type, made when it is first asked for and never destroyed. In
// storage of its own, so that making it takes no memory: one who tells that memory
// has run out may be the first to ask.
template <class Object> Object& Immortal()
{
    alignas(Object) static unsigned char storage[sizeof(Object)];
    static Object& sObject = *new (storage) Object;
    return sObject;
}

#endif
