#include "json.h"

#include <limits>
#include <stdexcept>
#include <string>

#include <boost/json.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include <win32/text.h>

#include "usage_logger.h"

namespace krobase
{
namespace serialization
{
namespace
{
// Boost.JSON uses char for UTF-8.
boost::json::string_view AsChars(const utility::UTF8String& text)
{
    return {reinterpret_cast<const char*>(text.data()), text.size()};
}

utility::UTF16String ToUnits(const std::string& bytes)
{
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::length_error("JSON text too long");
    const int byteCount = static_cast<int>(bytes.size());
    utility::UTF16String units(bytes.size(), 0);
    const int count = win32::MultiByteToWideChar(win32::kCodePageUTF8, 0, bytes.data(), byteCount,
                                                 &units[0], byteCount);
    units.resize(static_cast<std::size_t>(count));
    return units;
}
} // namespace

boost::shared_ptr<boost::any> JSONParse(const utility::UTF16String& text)
{
    auto result = boost::make_shared<boost::any>();
    const utility::UTF8String bytes = utility::UTF16to8(text);
    boost::json::error_code error;
    const boost::json::value value = boost::json::parse(AsChars(bytes), error);
    if (const boost::json::string* const decoded = error ? nullptr : value.if_string())
        *result = utility::UTF8String(decoded->begin(), decoded->end());
    return result;
}

utility::UTF16String GetJSONString(const boost::any& value, bool)
{
    const auto& text = boost::any_cast<const utility::UTF8String&>(value);
    return ToUnits(boost::json::serialize(boost::json::string(AsChars(text))));
}
} // namespace serialization

namespace config
{
UsageLoggerGroup::~UsageLoggerGroup() = default;
} // namespace config
} // namespace krobase
