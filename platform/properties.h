// System properties: named texts that outlive the process.
#pragma once

/// Longest value with its terminator, in bytes.
constexpr int PROPERTY_VALUE_MAX = 92;

extern "C" {
/// Copies the property's value, or the default (null: empty) when it is not set or empty, to
/// `value`, which has room for PROPERTY_VALUE_MAX bytes. Returns the length of what was copied.
int property_get(const char* key, char* value, const char* default_value);

/// Sets the property. Returns 0, or a negative number when it could not be stored.
int property_set(const char* key, const char* value);
}
