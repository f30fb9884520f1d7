// Calls of gettext's library, which reports by callbacks and reads and writes named files.

#ifndef ZDICT_EXCHANGE_PO_LIBRARY_H
#define ZDICT_EXCHANGE_PO_LIBRARY_H

#include <memory>
#include <string>
#include <vector>

#include <gettext-po.h>

#include "exchange/catalogue.h"

struct POFileCloser
{
    void operator()(po_file_t file) const { po_file_free(file); }
};
typedef std::unique_ptr<struct po_file, POFileCloser> POFile;

struct POIteratorCloser
{
    void operator()(po_message_iterator_t iterator) const { po_message_iterator_free(iterator); }
};
typedef std::unique_ptr<struct po_message_iterator, POIteratorCloser> POIterator;

struct POProblem
{
    bool mIsError; // else a warning
    Place mPlace;
    std::string mWhat;
};

// Each function stores the problems that the library reports. A result of null is a failure, with
// at least one error. One thread at a time calls them.
//
// `isUTF8` says that no message is in another charset.
POFile ParsePO(const std::string& bytes, bool isUTF8, std::vector<POProblem>* problems);

// REQUIRES: the charset of the file is UTF-8.
bool FormatPO(po_file_t file, std::string* bytes, std::vector<POProblem>* problems);
bool HasSoundFormat(po_message_t message);

#endif
