// Keys and values made and listed with the registry functions alone. No state.
#pragma once

#include <optional>

#include "settings/registry_api.h"

enum class KeyContent { Subkeys, Values };

// Makes the key with all keys above it. True also when it is there already.
bool create_Key(const RegistryPlace& place);

// The names of the subkeys or of the values; nothing when the key cannot be read.
std::optional<std::vector<std::wstring>> list_Key(const RegistryPlace& place, KeyContent content);

// Writes a value that has the form of its type; makes the key when it is missing.
bool write_Value(const RegistryPlace& place, DWORD type, const RegistryValue& value);
