// State text: how components report and restore their state as one string,
// a comma-separated list of key=value items ("s=1,t=#0000000000000040").
//
// A list is split at commas except inside braces: from a "{" everything up
// to the next "}" belongs to the item, without nesting, so a braced value
// may itself hold commas. An item splits at its first "="; key and value
// are trimmed of blanks; keys match exactly (case counts). An item without
// "=" has an empty key and value.
//
// Recipe (save and load of one element):
//   std::string s;
//   AddKeyInt(s, "c", state);  AddKeyHex(s, "f", m_Out);
//   ...
//   state = KeyInt(s, "c", state);  m_Out = KeyHex(s, "f", m_Out);
// Readers take the present value as default, so a missing key changes nothing.
#pragma once

#include <string>
#include <string_view>

#include "base/list.h"

namespace qz3 {

// Appenders: a "," in front if the list isn't empty, "key=" if key isn't empty.
void AddKeyStr(std::string& list, std::string_view key, std::string_view value);
void AddKeyInt(std::string& list, std::string_view key, int value);
void AddKeyDouble(std::string& list, std::string_view key, double value);  // 12 digits
void AddKeyHex(std::string& list, std::string_view key, double value);     // bit-exact
void AddKeyBraced(std::string& list, std::string_view key, std::string_view value);
void AddKeyOnOff(std::string& list, std::string_view key, int value);
// The text of choice `index` in `items`; an index outside them writes "".
void AddKeyChoice(std::string& list, std::string_view key, int index, const TStringList& items);

// 0 for an empty or all-blank list, else commas outside braces plus 1.
int ListCount(std::string_view list);
// The n-th item (from 0) as it stands, untrimmed; "" past the end.
std::string ListItem(std::string_view list, int n);

// Value of the first item with this key, "" if none.
std::string KeyStr(std::string_view list, std::string_view key);
// KeyStr read as "%d"; `def` if missing or unreadable.
int KeyInt(std::string_view list, std::string_view key, int def);
// KeyStr through ParseDouble; `def` if empty or unreadable.
double KeyDouble(std::string_view list, std::string_view key, double def);
// KeyStr through HexToDouble; `def` if empty.
double KeyHex(std::string_view list, std::string_view key, double def);
// KeyStr without its first and last characters (the braces).
std::string KeyBraced(std::string_view list, std::string_view key);

// From stored state lines "id=<n>,...", the part behind the first comma of
// the line whose number is `id`; "" if there is none.
std::string StateById(const TStringList& states, int id);

}  // namespace qz3
