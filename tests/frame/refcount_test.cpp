#include "U_RefCount.h"

#include "tests/support/BornLibrary.h"

namespace
{
// What a caller's code builds on the base.
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

    void ExpectNoReport() { EXPECT_EQ(mLog.Texts(), std::vector<std::string>()); }

    // Expects one line under the tag that has the text in it.
    void ExpectReport(const char* tag, const char* text)
    {
        const std::vector<std::string> lines = mLog.Texts(tag);
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_NE(lines[0].find(text), std::string::npos) << lines[0];
    }
};
} // namespace

TEST_F(RefCount, ObjectGoesWithItsLastPointer)
{
    Ptr<Node> first(new Node);
    {
        Ptr<Node> second(first);
        Ptr<Node> third;
        third = second;
        EXPECT_TRUE(third == first);
        first = U_rcNULL;
        EXPECT_EQ(sAlive, 1);
    }
    EXPECT_EQ(sAlive, 0);
    ExpectNoReport();
}

TEST_F(RefCount, AssignmentOfTheSameObjectKeepsIt)
{
    Ptr<Node> pointer(new Node);
    Ptr<Node>& itself = pointer;
    pointer = itself;
    pointer = pointer.operator->();
    EXPECT_EQ(sAlive, 1);
    pointer = U_rcNULL;
    EXPECT_EQ(sAlive, 0);
    ExpectNoReport();
}

TEST_F(RefCount, WalkAlongAChainMayReleaseWhatOwnsTheNextObject)
{
    Ptr<Node> at(new Node);
    at->mNext = new Node;
    Node* const second = at->mNext.operator->();
    at = at->mNext;
    EXPECT_TRUE(at == second);
    EXPECT_EQ(sAlive, 1);
}

TEST_F(RefCount, ObjectMayReachItsPointerWhileItGoes)
{
    Ptr<Node> pointer(new Node);
    pointer->mWatched = &pointer;
    pointer = U_rcNULL;
    EXPECT_EQ(sAlive, 0);
    ExpectNoReport();
}

TEST_F(RefCount, CopyOfACountedObjectStartsUncounted)
{
    Ptr<Node> original(new Node);
    Ptr<Node> copy(new Node(*original.operator->()));
    *copy.operator->() = *original.operator->();
    copy = U_rcNULL;
    EXPECT_EQ(sAlive, 1);
    ExpectNoReport();
}

TEST_F(RefCount, RawReferencesKeepAndReleaseTheObject)
{
    Node* const node = new Node;
    Ptr<Node>::AddReference(node);
    {
        Ptr<Node> pointer(node);
    }
    EXPECT_EQ(sAlive, 1);
    Ptr<Node>::RemoveReference(node);
    EXPECT_EQ(sAlive, 0);
    Ptr<Node>::AddReference(nullptr);
    Ptr<Node>::RemoveReference(nullptr);
    ExpectNoReport();
}

TEST_F(RefCount, UncountedObjectIsDeletedWithoutAReport)
{
    delete new Node;
    ExpectNoReport();
}

TEST_F(RefCount, DeletionUnderAPointerIsReportedAndGoesOn)
{
    Node* const node = new Node;
    Ptr<Node>::AddReference(node);
    delete node;
    EXPECT_EQ(sAlive, 0);
    ExpectReport("U_Sev_PROBLEM",
                 "internal verification failure, sorry! {Warning: Reference count not zero.}");
}

TEST_F(RefCount, NullPointerIsReportedWhenDereferenced)
{
    const Ptr<Node> null(U_rcNULL);
    EXPECT_TRUE(!null);
    int thrown = 0;
    try
    {
        null.operator->();
    }
    catch (int code)
    {
        thrown = code;
    }
    EXPECT_EQ(thrown, 3);
    ExpectReport("U_Sev_WARNING", "Warning: Attempted to dereference a null pointer.");
}

TEST_F(RefCount, CountBelongsToItsObject)
{
    U_ReferenceCount count;
    EXPECT_TRUE(count.IsUnreferenced());
    count.Increment();
    EXPECT_TRUE(count.IsUniquelyReferenced());
    count.Increment();
    EXPECT_TRUE(count.IsShared());

    U_ReferenceCount copy(count);
    EXPECT_TRUE(copy.IsUnreferenced());
    copy.Increment();
    copy = count;
    EXPECT_TRUE(copy.IsUniquelyReferenced());

    EXPECT_FALSE(count.Decrement());
    EXPECT_TRUE(count.Decrement());
    EXPECT_TRUE(copy.Decrement());
    EXPECT_TRUE(copy.Decrement()); // below none is none left too
    EXPECT_TRUE(copy.IsUnreferenced());
    EXPECT_FALSE(copy.IsUniquelyReferenced());
    copy.Increment();
    ExpectNoReport();
}
