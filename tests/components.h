// Automation components of the tests' own: each stands in for the suite component of its ProgID, answers from
// a table of members and records what is asked of it.
#pragma once

#include <windows.h>

#include <comutil.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tests/machine.h"

using Arguments = std::vector<_variant_t>;  // in the order in which the call writes them
using Member = std::function<_variant_t(const Arguments&)>;
using Members = std::map<std::wstring, Member>;

Member answers(const _variant_t& value);
Member fails();
std::wstring text_Of(const _variant_t& value);

// Registered under the ProgID from here to its end. Members, and whether an object can be made, may change in
// between. A member `info` that answers 1 is always there unless the table says otherwise.
class Component {
 public:
  explicit Component(const std::wstring& progid, Members members = {}, bool is_creatable = true);
  ~Component() { CoRevokeClassObject(m_cookie); }
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;

  struct Definition {
    std::wstring ProgId;
    Members Table;
    bool IsCreatable;
    std::function<void()> AtEnd = {};  // what an object does with its last release
  };
  Definition* operator->() const { return m_definition.get(); }

 private:
  std::shared_ptr<Definition> m_definition;
  DWORD m_cookie = 0;
};

// What happened to all components so far, in its order, `info` left out: "+progid" and "-progid" for an
// object made and released, "member(1, 2:short, text)" for a call, "Property=value". Those with `part` in
// them.
Lines calls(std::wstring_view part = {});
// Starts the record anew, or ends it.
void forget_Calls(bool goes_on = true);
// How many calls and ends of objects came on other threads than made them, after their apartments, or in the
// middle of a call.
long calls_ByStrangers();
// How many objects have been made and not released.
long living_Objects();

// Has the call with this number from now on fail, the making of objects and `info` counted, and if it lasts
// all calls for memory after it. True when the call that was to fail last has come.
bool fail_Call(long number, bool lasts = false);
// Counts a call, of a component or of the platform's; true when it is one to fail.
bool is_ToFail(bool is_memory = false);

// The log component, with the log switched on and a folder for it.
class Log : public Component {
 public:
  Log();
  // The messages written so far, without their headers.
  Lines messages() const;
};

// The store of shared values and the semaphore that guards it.
struct ValueStore {
  std::map<std::wstring, std::wstring> Values;
  Component Semaphore{L"NorvakInter.SemaPhore", {{L"WaitingForSemaphore", answers(0L)}}};
  Component Store{L"NorvakCertInstaller.iCache",
                  {{L"get_PIN", [this](const Arguments& key) { return Values[text_Of(key.at(0))].c_str(); }},
                   {L"set_PIN", [this](const Arguments& pair) {
                      return (Values[text_Of(pair.at(0))] = text_Of(pair.at(1))).c_str();
                    }}}};
};

// The suite's components; nothing that they are told stays.
struct Components {
  Log Logger;
  ValueStore Store;
  Component Translator{L"NorvakTranslator.Language",
                       {{L"translateit", [](const Arguments& text) { return text.at(0); }}}};
  Component Host{L"WScript.Shell", {{L"RegRead", answers({})}, {L"RegWrite", answers({})}}};
  Component Pkcs7{L"norvakcsp.PKCS7", {{L"create_P7x", answers(true)}, {L"validate_P7x", answers(true)}}};
};
