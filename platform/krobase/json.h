// JSON string literals.
//
//     const krobase::utility::UTF8String text(1, 'a');
//     const krobase::utility::UTF16String literal =
//         krobase::serialization::GetJSONString(text, false); // "a", quotes included
//
// Thread safety: all functions may be called on any thread.

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
// Parses a JSON text. White space around the literal is allowed.
//
// Returns: for a string literal, its decoded text as a UTF8String. For any other text, an
//   empty any. Never null.
// Throws: std::bad_alloc.
// Failures: an unescaped half of a surrogate pair becomes U+FFFD. With an escaped half the text
//   is no JSON.
PLATFORM_EXPORT boost::shared_ptr<boost::any> JSONParse(const utility::UTF16String& text);

// Returns the JSON literal, with quotes, of a UTF8String. `withLayout` has no effect: a
// literal has no layout.
//
// Throws: boost::bad_any_cast for any other value; std::length_error beyond 2 GiB;
//   std::bad_alloc.
PLATFORM_EXPORT utility::UTF16String GetJSONString(const boost::any& value, bool withLayout);
} // namespace serialization
} // namespace krobase

#endif
