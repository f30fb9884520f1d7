// A count of references, kept in the object.

#ifndef HOLLIN_PRIVATE_REF_COUNT_OBJ_H
#define HOLLIN_PRIVATE_REF_COUNT_OBJ_H

#include <cstdint>

namespace hollin_private
{
// Deletes itself with its last reference. The count isn't atomic: an object
// belongs to one thread at a time, or to code under a lock.
class RefCountObj
{
public:
    RefCountObj() = default;
    RefCountObj(const RefCountObj&) {} // nobody refers to the copy yet
    RefCountObj& operator=(const RefCountObj&) = delete;
    virtual ~RefCountObj() = default;

    void AddRef() { ++mRefCount; }
    void Release()
    {
        if (--mRefCount == 0)
            delete this;
    }
    bool IsShared() const { return mRefCount > 1; }

private:
    std::int32_t mRefCount = 0;
};

inline void intrusive_ptr_add_ref(RefCountObj* object)
{
    object->AddRef();
}
inline void intrusive_ptr_release(RefCountObj* object)
{
    object->Release();
}
} // namespace hollin_private

#endif
