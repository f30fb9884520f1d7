#include "U_RefCount.h"
#include "fuzz/code_thrown.h"
#include "tests/support/BornLibrary.h"

namespace
{
// The typed pointer of a host.
template <class T> class Ptr : public U_RCPtrBase
{
public:
    Ptr() = default;
    Ptr(const U_RCPtrNull& null) : U_RCPtrBase(null) {}
    Ptr(T* object) : U_RCPtrBase(object) {}
    Ptr(const Ptr& other) = default;

    Ptr& operator=(const Ptr& other)
    {
        ResetBase(other);
        return *this;
    }
    Ptr& operator=(T* object)
    {
        ResetBase(object);
        return *this;
    }
    Ptr& operator=(const U_RCPtrNull&)
    {
        ClearBase();
        return *this;
    }

    T* operator->() const
    {
        if (CompareNull())
            ThrowNullPointerError();
        return static_cast<T*>(UsePointer());
    }

    bool operator==(const Ptr& other) const { return Compare(other); }
    bool operator==(const T* object) const { return ComparePointer(object); }

    static void AddReference(T* object) { Hack_AddReference(object); }
    static void RemoveReference(T* object) { Hack_RemoveReference(object); }
};

int sAlive = 0;

struct Node : U_RCObject
{
    Node() { ++sAlive; }
    Node(const Node& other) : U_RCObject(other), mNext(other.mNext) { ++sAlive; }
    Node& operator=(const Node& other) = default;
    ~Node() override
    {
        --sAlive;
        if (mWatched)
            *mWatched = U_rcNULL;
    }

    Ptr<Node> mNext;
    Ptr<Node>* mWatched = nullptr; // cleared by the destructor
};

class RefCount : public BornLibrary
{
protected:
    void SetUp() override
    {
        sAlive = 0;
        BornLibrary::SetUp();
    }

    // Expects `count` living nodes and an empty log.
    void ExpectAlive(int count)
    {
        EXPECT_EQ(sAlive, count);
        EXPECT_EQ(mLog.Texts(), Texts());
    }
};
} // namespace

TEST_F(RefCount, AnObjectIsDestroyedWithItsLastReference)
{
    delete new Node; // without any reference
    Node* const node = new Node;
    Ptr<Node>::AddReference(node);
    {
        Ptr<Node> first(node);
        Ptr<Node> second(first);
        Ptr<Node> third;
        third = second;
        EXPECT_TRUE(third == first);
        first = U_rcNULL;
        Ptr<Node>& itself = second;
        second = itself;
        second = second.operator->();
        ExpectAlive(1);
    }
    ExpectAlive(1);
    Ptr<Node>::RemoveReference(node);
    ExpectAlive(0);
    Ptr<Node>::AddReference(nullptr);
    Ptr<Node>::RemoveReference(nullptr);
}

TEST_F(RefCount, ADestroyedObjectMayOwnTheNextOneOrReachItsPointer)
{
    Ptr<Node> at(new Node);
    at->mNext = new Node;
    Node* const second = at->mNext.operator->();
    at = at->mNext;
    EXPECT_TRUE(at == second);
    ExpectAlive(1);
    at->mWatched = &at;
    at = U_rcNULL;
    ExpectAlive(0);
}

TEST_F(RefCount, ACountBelongsToItsObject)
{
    Ptr<Node> original(new Node);
    Ptr<Node> copy(new Node(*original.operator->()));
    *copy.operator->() = *original.operator->();
    copy = U_rcNULL;
    ExpectAlive(1);

    U_ReferenceCount count;
    EXPECT_TRUE(count.IsUnreferenced());
    count.Increment();
    EXPECT_TRUE(count.IsUniquelyReferenced());
    count.Increment();
    EXPECT_TRUE(count.IsShared());
    EXPECT_FALSE(count.Decrement());
    EXPECT_TRUE(count.Decrement());
    EXPECT_TRUE(count.Decrement()); // a negative count is unreferenced too
    EXPECT_TRUE(count.IsUnreferenced());
    count.Increment();
}

TEST_F(RefCount, MisuseIsReported)
{
    Node* const node = new Node;
    Ptr<Node>::AddReference(node);
    delete node;
    EXPECT_EQ(sAlive, 0);
    const Ptr<Node> null(U_rcNULL);
    EXPECT_TRUE(!null);
    EXPECT_EQ(CodeThrown([&] { null.operator->(); }), 3);
    EXPECT_EQ(mAlerts.Texts(),
              (Texts{"Test Host error: internal verification failure, sorry! {Warning: Reference "
                     "count not zero.}\n\n",
                     "Test Host warning: Warning: Attempted to dereference a null pointer.\n\n"
                     "( 23 :: 0 )"}));
}
