// System properties: named strings that outlive the process.
#pragma once

/// Longest value in bytes, including its terminator.
constexpr int PROPERTY_VALUE_MAX = 92;

extern "C" {
/// Copies the property's value to `value`, which has room for PROPERTY_VALUE_MAX bytes; the default
/// (null: an empty string) when the property is unset or empty. Returns the length copied.
int property_get(const char* key, char* value, const char* default_value);

/// Sets the property. Returns 0, or a negative number when it could not be stored.
int property_set(const char* key, const char* value);
}
