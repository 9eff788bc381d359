#pragma once

#include <kilncore/serialization/JSONTypes.h>
#include <kilncore/string/WideString.h>
#include <tether/MarlRenderOptions.h>

#include <any>
#include <cstdint>
#include <vector>

namespace TetherMedia {

// Readers of the render-options JSON and of other JSON replies.
//
// Each takes a value as JSONParse gives it. An empty std::any (JSON null) reads
// as the null value named below, and so does a null pointer for the pointer
// forms. A value of any type not listed throws std::bad_any_cast. The accepted
// types are exact: a format read from project files must not start accepting
// what older readers refused.

// Parses render options as written by tether::MarlRenderOptions::AsString or
// any earlier version of it: one object, or that object wrapped as the only
// value of "SerializerWrappedObject". Members above the object's "version" keep
// the defaults of MarlRenderOptions; options whose "applicationID" isn't
// exactly "Marl" give the defaults whole.
//
// Throws std::runtime_error("JSON not well-formed") for text that doesn't
// parse (empty text included), std::bad_any_cast for a root that isn't an
// object or a member of the wrong type.
tether::MarlRenderOptions ParseMarlRenderOptions(const kilncore::WideString& renderOptions);

// The lenient boolean: a bool; an int (non-zero is true), as code-built trees
// hold it; or the exact strings "true" and "false". Null gives false. Note that
// a parsed JSON integer (uint64_t or int64_t) is no boolean and throws.
bool ReadBoolVariant(const std::any& value);
bool ReadBoolVariant(const kilncore::serialization::JSONValuePtr& value);

// A uint64_t or int64_t, cut to its low 32 bits. Null gives 0. Callers that
// want a signed value cast the result.
uint32_t ReadIntegerVariant(const std::any& value);
uint32_t ReadIntegerVariant(const kilncore::serialization::JSONValuePtr& value);

// A uint64_t or int64_t with all 64 bits kept. Null gives 0.
int64_t ReadInt64Variant(const std::any& value);
int64_t ReadInt64Variant(const kilncore::serialization::JSONValuePtr& value);

// A double, or a uint64_t or int64_t converted to double. Null gives 0.0.
double ReadNumberVariant(const std::any& value);
double ReadNumberVariant(const kilncore::serialization::JSONValuePtr& value);

// An array of uint64_t or int64_t elements, each cut to its low 8 bits. Null
// gives an empty vector; an element of any other kind (null included) throws.
std::vector<uint8_t> ReadByteArrayVariant(const std::any& value);
std::vector<uint8_t> ReadByteArrayVariant(const kilncore::serialization::JSONValuePtr& value);

}  // namespace TetherMedia
