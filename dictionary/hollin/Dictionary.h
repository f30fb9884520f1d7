// A dictionary: keys, which are runs of bytes, to texts.
//
// It keeps its entries in one of two stores. A hash store suits a text file and
// old binary files; a flat store holds whole files as they are laid out, and is
// the one that can be changed. Loading a file of version 2 makes a dictionary
// flat, for good; entries that the hash store had are then out of reach, as are
// those of a file of version 1 that is loaded later. Text goes into either store.
//
// One dictionary, with its copies and the texts that came from it, is used by
// one thread at a time: counts aren't atomic. The same holds for the default
// dictionary, which every look-up may reach, and for the registry. An allocation
// that fails throws std::bad_alloc.

#ifndef HOLLIN_DICTIONARY_H
#define HOLLIN_DICTIONARY_H

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

#include "hollin/Ids.h"
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
    // Empty; flat from the start if asked for.
    Dictionary();
    explicit Dictionary(bool flat);

    // Copies share a flat store. A hash store isn't copied: the copy is empty,
    // and the target of an assignment stays as it is.
    Dictionary(const Dictionary& other);
    Dictionary& operator=(const Dictionary& other);
    ~Dictionary();

    // Look-up. key is a ZString literal, of which the part between "$$$" and
    // "=" counts. GetString falls back on the default dictionary and then on
    // the literal's own text, expanded; GetStringById on the default
    // dictionary; the rest on nothing.
    ZString GetString(const char* keyAndDefault, TextEncoding encoding = nullptr) const;
    ZString GetStringById(std::uint32_t id) const;
    bool HasString(const char* key) const; // not in the default dictionary

    // The identifier of a key in a flat store; kNoId if there is none.
    std::uint32_t GetId(const char* key) const;

    // Point into the store, until it changes, without a copy; the text isn't
    // terminated. 1 if found, else 0 with null. *length is in units.
    int GetRawString(const char* key, const std::uint16_t** units, std::uint32_t* length) const;
    int GetRawStringById(std::uint32_t id, const std::uint16_t** units,
                         std::uint32_t* length) const;

    // Flat stores only; empty otherwise.
    ZString GetComment(const char* key) const;
    ZString GetCommentById(std::uint32_t id) const;

    // Adds or replaces. byteLength and commentLength are in bytes; a null
    // comment leaves the one that is there. Returns the entry's identifier, or
    // kNoId for a hash store or a run that is too long, with nothing changed. Without
    // memory for the comment it throws, with the value replaced already.
    std::uint32_t SetString(const char* key, const std::uint16_t* value, std::uint32_t byteLength,
                            const std::uint16_t* comment = nullptr,
                            std::uint32_t commentLength = 0);

    // The same for a key that isn't there, which the caller answers for: without
    // a search, so that very many entries are added in little time.
    std::uint32_t AddString(const char* key, const std::uint16_t* value, std::uint32_t byteLength,
                            const std::uint16_t* comment = nullptr,
                            std::uint32_t commentLength = 0);

    // Returns the identifier that the entry had, or kNoId.
    std::uint32_t RemoveString(const char* key);

    // The locale name, such as "en_US"; empty if there is none. Set on a flat
    // store only; a null or empty name is ignored.
    ZString GetLanguage() const;
    void SetLanguage(const char* name);

    // Walks the entries. NextId is false at the end, and the next walk starts anew. A
    // change of the dictionary disturbs a walk, which may then leave entries out or end
    // early: reset it. The first slot of a flat store is given even if it was removed;
    // its key is empty then. A hash store has no identifiers: *id counts from 0.
    void ResetIterator();
    bool NextId(std::uint32_t* id);
    std::string CurrentKey() const; // flat stores only; empty otherwise
    ZString CurrentText() const;    // either store; empty outside a walk

    // Into a buffer of size bytes, terminated, cut if it is too short; throws
    // "BUFF" then if throwIfShort is set. Returns the key's length in bytes.
    std::uint32_t CurrentKey(char* buffer, std::uint32_t size, bool throwIfShort) const;

    // Loads one image, binary or text, over what is there. Of a version 1 image
    // the keys aren't copied unless copyKeys is set: bytes must then outlive the
    // dictionary. Damage clears IsGood and keeps nothing of a version 2 image;
    // of a version 1 image the entries in front of the damage stay. A text line
    // with a damaged prefix, or too long for the store, is left out and clears
    // IsGood too. An unknown version changes nothing and clears IsGood. Text that
    // the system can't convert throws a VoErrException.
    //
    // Damage of an image is also a table or a run that reaches beyond its end or its
    // pool, half a unit, an identifier that isn't below the count, a bucket above
    // 1020, buckets or comments that don't ascend, a byte-order byte other than 0
    // and 1, and a base that continues another store. A wrong number of live slots
    // is none.
    void LoadFromMemory(const unsigned char* bytes, std::int32_t size, bool copyKeys);

    // The same from the stream's position to its end, which is read first; keys
    // are copied. The stream need not seek. One that fails counts as damaged and
    // gives nothing, and so does one that has nothing left, as an empty image
    // does; what it would throw stays inside, as its state tells it. In a text, a
    // line of nothing but a byte-order mark is passed over.
    void LoadFromStream(std::istream& stream);

    // False once any load has met damage.
    bool IsGood() const;

    enum SerializeMode
    {
        kBinary = 0,
        kTextOfHash = 1, // a flat store writes only the byte-order mark
        kText = 2,
        kBinaryWithoutKeys = 3 // a hash store writes its keys all the same
    };

    // Writes a version 2.7 image, or the text form in UTF-16 of this machine.
    // Texts are UTF-16 in both, so encoding plays no part. byteOrder 0 writes an
    // image of the other byte order. base is the first identifier of a file that
    // continues another, else 0; a hash store writes 0.
    //
    // All is written at once; the stream need not seek. Returns the bytes
    // written, 0 if that failed. A flat store tells of an exception on standard
    // error and returns 0; a hash store lets it pass, and throws "PARM" for a run
    // above kLongestRun before anything is written.
    //
    // The text form doesn't protect a caret, a backslash or "#{" in a value:
    // those change when they are read back. Entries with an empty key are left
    // out of a flat store's text, and can't be found in an image.
    std::size_t Serialize(std::ostream& stream, SerializeMode mode, TextEncoding encoding,
                          int byteOrder, std::uint32_t base) const;
    std::size_t Serialize(std::ostream& stream, bool binary, TextEncoding encoding) const;

    // Registered dictionaries, by domain; made empty on first use and destroyed
    // at the end of the process. The reference holds until then.
    static Dictionary& ForDomain(std::uint32_t domain);

    // Makes the registered dictionary of a domain the one that look-ups fall back
    // on, and returns it.
    static Dictionary& SetDefaultDictionary(std::uint32_t domain);

private:
    std::unique_ptr<hollin_private::DictionaryImpl> mImpl;
};
} // namespace hollin

#endif
