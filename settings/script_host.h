// The script host's shell object ("WScript.Shell"): the second way of reading the registry and the only one
// of writing settings. The object is made with the first need, made again when it stops answering, and kept
// for the life of the process.
#pragma once

#include <comutil.h>

#include <string>
#include <string_view>

// Makes sure that the object answers; when none can be made, the log says in which operation (`caller`).
void ensure_ScriptHost(std::wstring_view caller);

// Whether there is an object, which has worked before.
bool has_ScriptHost();

// The value as text; empty when there is none or the object fails.
std::wstring read_ByScriptHost(std::wstring_view path);

// Writes the value with the type ("REG_SZ", "REG_EXPAND_SZ" or "REG_DWORD"). False when that failed, for
// example because this user may not write the key.
bool write_ByScriptHost(std::wstring_view path, const _variant_t& value, const wchar_t* type);

// Deletes a value. False when that failed, and for a key's default value: the host would delete the key.
bool delete_ByScriptHost(std::wstring_view path);

// Writes a number to find out whether this user may write there; makes the object when there is none yet.
bool try_Write(std::wstring_view path);
