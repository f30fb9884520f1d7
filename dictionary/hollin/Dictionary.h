// A dictionary: texts in UTF-16 by keys, which are runs of bytes.
//
//     const std::string image = "\"$$$/Host/Greeting=Hallo\"\n"; // or the bytes of a file
//     hollin::Dictionary dictionary;
//     dictionary.LoadFromMemory(reinterpret_cast<const unsigned char*>(image.data()),
//                               static_cast<std::int32_t>(image.size()), true);
//     const hollin::ZString text = dictionary.GetString("$$$/Host/Greeting=Hello");
//
// A dictionary uses one of two stores:
// - The hash store holds text files and images of version 1. Operations on single texts
//   (SetString, AddString, RemoveString) do not change it.
// - The flat store holds images of version 2 in their own layout, and can be changed.
//
// A load of an image of version 2 makes a dictionary flat, and it stays so. Entries of the
// hash store can't be found after that. Nor can the entries of an image of version 1 that is
// loaded later. A text is loaded into the store in use.
//
// Thread safety: one thread at a time uses a dictionary, its copies and the texts from it,
// since reference counts aren't atomic. The default dictionary and the registry are used by
// one thread at a time too. Every look-up may read the default dictionary.
//
// Throws: std::bad_alloc, from every operation that allocates.

#ifndef HOLLIN_DICTIONARY_H
#define HOLLIN_DICTIONARY_H

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

#include "hollin/Limits.h"
#include "hollin/ZString.h"

namespace hollin_private
{
class DictionaryImpl;
}

namespace hollin
{
class Dictionary
{
public:
    // Makes an empty dictionary with the hash store, or with the flat store.
    Dictionary();
    explicit Dictionary(bool flat);

    // Copies share a flat store. A hash store isn't copied: the copy of its dictionary is
    // empty, and the target of an assignment is not changed.
    Dictionary(const Dictionary& other);
    Dictionary& operator=(const Dictionary& other);
    ~Dictionary();

    // Looks up a ZString literal. Its key is the part between "$$$" and "=".
    //
    // Returns: the text of the key here, or in the default dictionary, or the literal's own
    // text, expanded.
    ZString GetString(const char* keyAndDefault, TextEncoding encoding = nullptr) const;

    // Returns the text here or in the default dictionary. Empty if neither has a flat store
    // with the identifier.
    ZString GetStringById(std::uint32_t id) const;

    // Returns whether this dictionary has the key, the default dictionary aside.
    bool HasString(const char* key) const;

    // Returns the identifier of a key in a flat store, or kNoId.
    std::uint32_t GetId(const char* key) const;

    // Set *units to a text in the store, valid until the store changes and not terminated,
    // and *length to its units. Copy nothing.
    //
    // Returns: 1, or 0 with null and 0 if this dictionary does not have the text.
    int GetRawString(const char* key, const std::uint16_t** units, std::uint32_t* length) const;
    int GetRawStringById(std::uint32_t id, const std::uint16_t** units,
                         std::uint32_t* length) const;

    // Return a comment in a flat store. Empty for a hash store.
    ZString GetComment(const char* key) const;
    ZString GetCommentById(std::uint32_t id) const;

    // Adds or replaces an entry of a flat store. Lengths are in bytes. A null comment keeps
    // the comment of the entry.
    //
    // Returns: the identifier, or kNoId with nothing changed for a hash store and for a run
    // longer than kLongestRun.
    //
    // Failures: if the allocation for the comment fails, the value has been replaced.
    std::uint32_t SetString(const char* key, const std::uint16_t* value, std::uint32_t byteLength,
                            const std::uint16_t* comment = nullptr,
                            std::uint32_t commentLength = 0);

    // SetString without a search, so that very many entries are added fast.
    //
    // REQUIRES: the dictionary does not have the key.
    std::uint32_t AddString(const char* key, const std::uint16_t* value, std::uint32_t byteLength,
                            const std::uint16_t* comment = nullptr,
                            std::uint32_t commentLength = 0);

    // Returns the identifier of the removed entry, or kNoId.
    std::uint32_t RemoveString(const char* key);

    // The locale's name, such as "en_US". Empty if it is not set. SetLanguage ignores a null or
    // empty name, and a hash store.
    ZString GetLanguage() const;
    void SetLanguage(const char* name);

    // Walks the entries. Returns false at the end; the next call starts a new walk.
    //
    // - A hash store has no identifiers: *id counts from 0.
    // - The first slot of a flat store is returned even if it was removed. Its key is empty.
    // - A change of the dictionary disturbs a walk, which may then skip entries or end early.
    //   Call ResetIterator after a change.
    bool NextId(std::uint32_t* id);
    void ResetIterator();

    // Return the key and the text of the walk's entry, empty outside a walk. The first form
    // of the key is empty for a hash store.
    std::string CurrentKey() const;
    ZString CurrentText() const;

    // Copies the key of the walk's entry, of either store, into a buffer of `size` bytes. The
    // copy is terminated, and cut if the buffer is too small.
    //
    // Returns: the length of the key in bytes.
    // Throws: VoErrException with "BUFF" if the buffer is too small and `throwIfShort` is set.
    std::uint32_t CurrentKey(char* buffer, std::uint32_t size, bool throwIfShort) const;

    // Loads one binary or text image over the entries of the dictionary. If `copyKeys` is not
    // set, the bytes of an image of version 1 must outlive the dictionary, which uses the
    // keys in them. `bytes` may be null.
    //
    // Throws: VoErrException for a text that the system can't convert.
    //
    // Failures: each clears IsGood.
    // - An empty image, and one of an unknown version: nothing is loaded.
    // - A text line with a damaged prefix, or too long for the store: the line is skipped.
    // - A damaged image of version 1: the entries before the damage are loaded.
    // - A damaged image of version 2: nothing is loaded.
    //
    // Damage of an image is:
    // - a table or a run that reaches beyond the image or its pool;
    // - a text or a pool of texts that ends in half a unit, or a text that begins in one;
    // - an identifier that isn't below the count;
    // - a bucket above 1020, and buckets and comments that don't ascend;
    // - a byte-order byte other than 0 and 1;
    // - a base that belongs to another store.
    // A wrong count of live slots is not damage.
    void LoadFromMemory(const unsigned char* bytes, std::int32_t size, bool copyKeys);

    // LoadFromMemory of the stream's bytes from its position to its end, which are read first.
    // Keys are copied. The stream need not be able to seek. A line of a text that holds only a
    // byte-order mark is skipped.
    //
    // Failures: a stream that fails, or has no bytes left, clears IsGood, and nothing is
    // loaded. Exceptions of the stream are not passed on; its state shows the failure.
    void LoadFromStream(std::istream& stream);

    // Returns false after a load that met damage.
    bool IsGood() const;

    enum SerializeMode
    {
        kBinary = 0,
        kTextOfHash = 1, // a flat store writes only the byte-order mark
        kText = 2,
        kBinaryWithoutKeys = 3 // a hash store writes its keys too
    };

    // Writes an image of version 2.7, or the text form in UTF-16 of this machine. The image is
    // written by one call, and the stream need not be able to seek.
    //
    // - `byteOrder` 0 writes an image of the other byte order.
    // - `base` is the first identifier of a file that continues another file, else 0. A hash
    //   store writes 0.
    // - `encoding` is not used: texts are UTF-16 in both forms.
    // - The text form does not protect a caret, a backslash or "#{" in a value. A reader
    //   changes them.
    // - Entries with an empty key are not written to the text form of a flat store, and
    //   can't be found in an image.
    //
    // Returns: the bytes written, or 0 if the stream fails.
    //
    // Failures:
    // - A hash store throws VoErrException with "PARM" for a run longer than kLongestRun, before
    //   anything is written, and does not catch exceptions of the stream.
    // - A flat store catches every exception, writes a line to standard error and returns 0.
    std::size_t Serialize(std::ostream& stream, SerializeMode mode, TextEncoding encoding,
                          int byteOrder, std::uint32_t base) const;

    // kBinary or kText in the byte order of this machine, with the base 0.
    std::size_t Serialize(std::ostream& stream, bool binary, TextEncoding encoding) const;

    // Returns the registered dictionary of a domain, which the first call makes empty. The
    // dictionary is destroyed at the end of the process.
    static Dictionary& ForDomain(std::uint32_t domain);

    // Makes the registered dictionary of a domain the default dictionary, and returns it.
    static Dictionary& SetDefaultDictionary(std::uint32_t domain);

private:
    std::unique_ptr<hollin_private::DictionaryImpl> mImpl;
};
} // namespace hollin

#endif
