// JSON literals. Any thread.

#ifndef KROBASE_JSON_H
#define KROBASE_JSON_H

#include <boost/any.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

#include <platform/base/export.h>

#include "text.h"

namespace krobase
{
namespace serialization
{
// Reads a JSON text. Of a string, with white space around it or not, the result
// holds the decoded text as a UTF8String; halves of surrogate pairs that stand
// there unescaped become U+FFFD, escaped ones are no JSON. Of any other text the
// result is empty. Never null.
PLATFORM_EXPORT boost::shared_ptr<boost::any> JSONParse(const utility::UTF16String& text);

// The JSON literal, quotes included, of a value that holds a UTF8String. A
// literal has no layout, so that withLayout makes no difference. Throws
// boost::bad_any_cast for any other value and std::length_error beyond 2 GiB.
PLATFORM_EXPORT utility::UTF16String GetJSONString(const boost::any& value, bool withLayout);
} // namespace serialization
} // namespace krobase

#endif
