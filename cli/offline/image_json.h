// Property lists as JSON that gives the same list back, and bytes as hexadecimal text.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "cli/show/output.h"
#include "properties/property_image.h"
#include "properties/property_value.h"

namespace orv::cli {

// Array of {name, kind, value}. The kinds are "long", "int", "short", "float", "double", "bool",
// "narrow", "wide", "bytes" and "unsigned_bytes". Byte vectors are lower-case hexadecimal digits.
// Values that JSON cannot hold are written out: a real number that is not finite as "inf", "-inf"
// or "nan:" with its bits, text that is not Unicode as {"units": hexadecimal digits}.
Json EntriesToJson(const ORVPropertyList& list);

// Returns nullopt, with the first reason in `error` ("entry 2: ..."), if the value is not such an
// array.
std::optional<ORVPropertyList> EntriesFromJson(const Json& json, std::string& error);

// Hexadecimal digits in lower case, two per byte.
std::string HexText(const ImageBytes& bytes);
// Reads digits with blanks, commas, line ends and the marks of a registry export ("hex:", "\")
// between bytes; nullopt for anything else or half a byte.
std::optional<ImageBytes> BytesFromHex(std::string_view text);

}  // namespace orv::cli
