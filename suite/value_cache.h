// Named texts that the suite's programs share, kept in the store component "NorvakCertInstaller.iCache" and
// guarded between processes by the component "NorvakInter.SemaPhore". Each thread keeps a store object, the
// process the last key with its value, so that a value which another process changed is seen only after a
// different key was used in between. While the quiet state is set nothing is read or written.
#pragma once

#include <string>
#include <string_view>

// Makes sure that the store answers. False in the quiet state and when there is no store.
bool load_permcache();

// The value of the key; empty when there is none, but "0" for the keys of the suite's licence counters. Two
// reads of one key in a row ask the store once.
std::wstring get_PermanentCache(const std::wstring& key);

// Stores the value; a value that was just read or written is not written again.
void set_PermanentCache(const std::wstring& key, const std::wstring& value);
