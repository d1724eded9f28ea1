// Property lists as JSON that gives the same list back, and bytes as hexadecimal text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cli/show/output.h"
#include "properties/property_image.h"
#include "properties/property_value.h"

namespace orv::cli {

// "long", "int", "short", "float", "double", "bool", "narrow", "wide", "bytes", "unsigned_bytes".
const char* KindName(PropertyKind kind);

// Array of {name, kind, value}. Byte vectors are lower-case hexadecimal digits. What JSON cannot
// hold is written out: a number that is none as "inf", "-inf" or "nan:" with its bits, text that is
// no Unicode as {"units": hexadecimal digits}.
Json EntriesToJson(const ORVPropertyList& list);

// Nothing, with the first reason in `error` ("entry 2: ..."), when the value is no such array.
std::optional<ORVPropertyList> EntriesFromJson(const Json& json, std::string& error);

// Hexadecimal digits in lower case, two per byte.
std::string HexText(const ImageBytes& bytes);
// Digits with blanks, commas, line ends and the marks of a registry export ("hex:", "\") between
// them; nothing for anything else or half a byte.
std::optional<ImageBytes> BytesFromHex(std::string_view text);

}  // namespace orv::cli
