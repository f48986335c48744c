// Automation components for tests. Each takes the place of the suite's component with the same ProgID,
// answers from a table of members and records every call.
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

// Registered under its ProgID as long as it lives. Meanwhile its members may change, and whether objects of
// it can be made. A member `info` that answers 1 is added unless the table has one.
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
    std::function<void()> AtEnd = {};  // called when an object is destroyed
  };
  Definition* operator->() const { return m_definition.get(); }

 private:
  std::shared_ptr<Definition> m_definition;
  DWORD m_cookie = 0;
};

// What happened to all components so far, in order and without calls of `info`: "+progid" and "-progid" for
// an object that was made or released, "member(1, 2:short, text)" for a call, "Property=value" for a property
// that was set. Only the lines that contain `part`.
Lines calls(std::wstring_view part = {});
// Empties the record, which then goes on or stays empty.
void forget_Calls(bool goes_on = true);
// How many times an object was called or destroyed on another thread than its own or after the end of its
// apartment, or destroyed in the middle of a call.
long calls_ByStrangers();
// How many objects of components exist.
long living_Objects();

// Makes the call with this number fail, counted from now on with the making of objects and calls of `info`.
// If the failure lasts, every request for memory after it fails too. True when the failure that was set
// before has happened.
bool fail_Call(long number, bool lasts = false);
// Counts a call of a component or of the platform; true when this one has to fail.
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

// The suite's components that a right-click calls. They have no effect outside the process.
struct Components {
  Log Logger;
  ValueStore Store;
  Component Translator{L"NorvakTranslator.Language",
                       {{L"translateit", [](const Arguments& text) { return text.at(0); }}}};
  Component Host{L"WScript.Shell", {{L"RegRead", answers({})}, {L"RegWrite", answers({})}}};
  Component Pkcs7{L"norvakcsp.PKCS7", {{L"create_P7x", answers(true)}, {L"validate_P7x", answers(true)}}};
};
