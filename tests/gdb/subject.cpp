// A process with known objects, which gdb reads: alive, and from its core file.

#include <cstring>
#include <string>

#include <hollin/ZString.h>

#include "U_Alloc.h"
#include "U_AnyTree.h"
#include "U_Context.h"
#include "U_Hog.h"
#include "U_Lifecycle.h"
#include "U_Posted.h"
#include "U_Report.h"
#include "U_Threads.h"

namespace
{
const U_u32 kLocation = 0x00420001;

class SelectionState : public U_State
{
public:
    explicit SelectionState(U_Context* context) : U_State(context) {}
    krobase::utility::ImmutableString GetKey() const override
    {
        return krobase::utility::ImmutableString("selection");
    }
    void OnActivate() override {}
    void OnDeactivate() override {}
};

U_UTF16String UTF16(const char16_t* text)
{
    return U_UTF16String(text, text + std::char_traits<char16_t>::length(text));
}

// Fills an object with bytes that are no object of its type.
template <class Object> struct Wreck
{
    alignas(Object) unsigned char mBytes[sizeof(Object)];

    Wreck() { std::memset(mBytes, 0x41, sizeof mBytes); }
};
} // namespace

// gdb stops at this function, and reads the variables of the caller.
extern "C" __attribute__((noinline)) void Ready()
{
    asm volatile("");
}

static void Show()
{
    const U_UTF16String ascii = UTF16(u"plain");
    const U_UTF16String wide = UTF16(u"Größe \U0001F600 \"x\"\n");
    const U_UTF16String half(1, 0xD83D);
    const U_UTF16String empty;
    const U_UTF16String endless(1000, 'e');
    const char bytes[] = "Gr\xC3\xB6\xC3\x9F"
                         "e \xFF";
    const U_UTF8String utf8(bytes, bytes + sizeof bytes - 1);
    const hollin::ZString ztext("Page ^1 of ^2");
    const hollin::ZString zempty;
    const krobase::utility::ImmutableString key("selection");

    const U_Any anys[] = {
        U_Any(),         U_Any(true),  U_Any(-12),          U_Any(U_i64(1) << 40), U_Any(2.5),
        U_Any("narrow"), U_Any(ascii), U_Any(boost::any()), U_Any(boost::any('c'))};
    U_AnyTree tree;
    U_AnyTreeWrapper wrapper(tree);
    wrapper.SetFrom_JSON(UTF16(u"{\"files\":12,\"on\":true,\"list\":[1,\"two\"],\"z.y\":0.5}"));
    const U_AnyTree leaf;

    void** thumbnail = U_AllocateHandle(kLocation, "Thumbnail", 120);
    void** stale = U_AllocateHandle(kLocation, "Stale", 10);
    void* pointers[] = {U_AllocatePtr(kLocation, "Tile", 1000),
                        U_AllocatePtr(kLocation, "Tile", 24), U_AllocatePtrQuiet(8)};
    void* plain = pointers;
    void** notHandle = &plain;

    U_u32 images = 0;
    U_u32 sounds = 0;
    U_RegisterHog("Images", &images);
    U_RegisterHog("Sounds", &sounds);
    void** image = nullptr;
    void*** const tile = static_cast<void***>(pointers[0]) - 2; // the block's header
    U_NewHogHandle(images, kLocation, "Image", 500, 0, &image);

    U_Context::RegisterState(key, [](U_Context* made) {
        return boost::shared_ptr<U_State>(new SelectionState(made), [](U_State*) {});
    });
    const boost::shared_ptr<U_Context> idle = U_Context::MakeNewContext();
    const boost::shared_ptr<U_Context> task = U_Context::MakeNewContext();
    const U_ContextSetter outer(task);
    const U_ContextSetter inner(task);

    U_IncrementPostErrors();
    U_ReportError(kLocation, U_Sev_WARNING, UTF16(u"The disk is full"));
    U_ReportError(kLocation, U_Sev_PROBLEM, UTF16(u"Größe"));

    Wreck<U_UTF16String> badUTF16;
    Wreck<U_UTF8String> badUTF8;
    Wreck<hollin::ZString> badZText;
    Wreck<U_Any> badAny;
    Wreck<U_AnyTree> badTree;
    Wreck<U_AnyTreeWrapper> badWrapper;
    Wreck<krobase::utility::ImmutableString> badKey;
    Wreck<U_Context> badContext;
    U_FreeHandle(stale); // the last call: no block has its slot now
    Ready();
    U_FreePtr(pointers[0]);
}

int main()
{
    if (U_Birth("Subject", nullptr))
        return 1;
    U_RegisterRenderThread();
    Show();
    return 0;
}
