#pragma once

#include <tether/AnyTree.h>

#include <cstdint>
#include <string>

// Checked reading of value trees that came from a peer: every accessor throws
// WireError when the value is missing, of another type, or out of range, so that
// a malformed message fails its request instead of the process.
namespace tether::wire {

const AnyObject& AsObject(const AnyValue& value);
const AnyArray& AsArray(const AnyValue& value);
const std::string& AsString(const AnyValue& value);
bool AsBool(const AnyValue& value);
int64_t AsInt64(const AnyValue& value);
uint64_t AsUint64(const AnyValue& value);
int32_t AsInt32(const AnyValue& value);
uint32_t AsUint32(const AnyValue& value);
// Accepts integers too.
double AsDouble(const AnyValue& value);

// The member `key` of `object`; throws WireError if absent.
const AnyValue& Field(const AnyObject& object, const char* key);
// The member `key`, or null if absent.
AnyValue OptionalField(const AnyObject& object, const char* key);

}  // namespace tether::wire
