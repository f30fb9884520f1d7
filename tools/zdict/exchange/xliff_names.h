// Names that the writer and the reader of XLIFF share.

#ifndef ZDICT_EXCHANGE_XLIFF_NAMES_H
#define ZDICT_EXCHANGE_XLIFF_NAMES_H

// The origins of notes in XLIFF 1.2, and their categories in XLIFF 2.0.
const char kDeveloperNote[] = "developer";
const char kTranslatorNote[] = "translator";
const char kFlagsNote[] = "flags";

// Categories of notes in XLIFF 2.0 alone.
const char kLocationNote[] = "location";
const char kOldEnglishNote[] = "previous-source";

// Contexts and alternatives of XLIFF 1.2.
const char kReferenceGroup[] = "po-reference";
const char kReferenceFile[] = "sourcefile";
const char kReferenceLine[] = "linenumber";
const char kOldVersion[] = "previous-version";

// The inline element of XLIFF 1.2 for a character that XML can't hold.
const char kCharacterType[] = "x-char";

// A state of XLIFF 2.0. With a translation, it is fuzzy.
const char kInitialState[] = "initial";

#endif
