#include "tests/components.h"

#include <wrl/client.h>

#include <combaseapi.h>

#include <atomic>

#include "base/boundary.h"
#include "base/process_values.h"
#include "base/text.h"
#include "base/unknown.h"

namespace {

SRWLOCK record_lock = SRWLOCK_INIT;
Lines recorded;
bool is_Recording = true;
std::atomic<long> living = 0;
std::atomic<long> strangers = 0;

void record(const std::wstring& line) {
  const Locked lock(record_lock);
  if (is_Recording)
    recorded.push_back(line);
}

// Every object of a ProgID is of one class, whichever thread serves it.
CLSID class_Of(const std::wstring& progid) {
  static std::map<std::wstring, CLSID> classes;
  const Locked lock(record_lock);
  const auto [known, is_new] = classes.try_emplace(progid);
  if (is_new)
    CoCreateGuid(&known->second);
  return known->second;
}

std::atomic<long> calls_UntilFailure = 0;
bool is_Lasting = false;  // whether requests for memory go on failing

using Definition = std::shared_ptr<Component::Definition>;

class Object final : public Unknown<IDispatch> {
 public:
  explicit Object(Definition definition) : m_definition(std::move(definition)) {
    ++living;
    record(L"+" + m_definition->ProgId);
  }
  ~Object() override {
    count_Stranger();
    strangers += m_calls;
    --living;
    record(L"-" + m_definition->ProgId);
    if (m_definition->AtEnd)
      m_definition->AtEnd();
  }

  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT, LCID, DISPID* member) override {
    const auto found = m_definition->Table.find(names[0]);
    *member = static_cast<DISPID>(std::distance(m_definition->Table.begin(), found));
    return found == m_definition->Table.end() ? DISP_E_UNKNOWNNAME : S_OK;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD kind, DISPPARAMS* parameters, VARIANT* result, EXCEPINFO*,
                      UINT*) override {
    count_Stranger();
    const auto& [name, member] = *std::next(m_definition->Table.begin(), id);
    Arguments arguments(std::reverse_iterator(parameters->rgvarg + parameters->cArgs),
                        std::reverse_iterator(parameters->rgvarg));
    std::wstring text;
    for (const auto& argument : arguments)
      text += (text.empty() ? L"" : L", ") + text_Of(argument) + (argument.vt == VT_I2 ? L":short" : L"");
    if (name != L"info")
      record(name + (kind == DISPATCH_PROPERTYPUT ? L"=" + text : L"(" + text + L")"));
    if (is_ToFail())
      return E_FAIL;
    try {
      ++m_calls;
      const ScopeExit answered([this] { --m_calls; });
      auto answer = member(arguments);
      if (result != nullptr)
        *result = answer.Detach();
    } catch (HRESULT failure) {
      return failure;
    }
    return S_OK;
  }

 private:
  void count_Stranger() const {
    ULONG_PTR apartment = 0;
    if (GetCurrentThreadId() != m_thread || CoGetContextToken(&apartment) != S_OK)
      ++strangers;
  }

  Definition m_definition;
  long m_calls = 0;  // under way
  const DWORD m_thread = GetCurrentThreadId();
};

class Factory final : public Unknown<IClassFactory> {
 public:
  explicit Factory(Definition definition) : m_definition(std::move(definition)) {}

  STDMETHODIMP LockServer(BOOL) override { return S_OK; }
  STDMETHODIMP CreateInstance(IUnknown*, REFIID iid, void** object) override {
    *object = nullptr;
    if (!m_definition->IsCreatable || is_ToFail())
      return E_FAIL;
    return Microsoft::WRL::ComPtr<IDispatch>(new Object(m_definition)).CopyTo(iid, object);
  }

 private:
  Definition m_definition;
};

}  // namespace

Member answers(const _variant_t& value) {
  return [value](const Arguments&) { return value; };
}

Member fails() {
  return [](const Arguments&) -> _variant_t { throw HRESULT{E_FAIL}; };
}

std::wstring text_Of(const _variant_t& value) {
  const _bstr_t text(value);
  return {static_cast<const wchar_t*>(text), text.length()};
}

Component::Component(const std::wstring& progid, Members members, bool is_creatable)
    : m_definition(std::make_shared<Definition>(progid, std::move(members), is_creatable)) {
  m_definition->Table.try_emplace(L"info", answers(1L));
  const auto clsid = class_Of(progid);
  std::wstring text(39, L'\0');
  StringFromGUID2(clsid, text.data(), static_cast<int>(text.size()));
  set_Value(LR"(HKCR\)" + progid + LR"(\CLSID\)", text.c_str());
  const Microsoft::WRL::ComPtr<IClassFactory> factory(new Factory(m_definition));
  CoRegisterClassObject(clsid, factory.Get(), CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &m_cookie);
}

Lines calls(std::wstring_view part) {
  const Locked lock(record_lock);
  Lines lines(recorded);
  std::erase_if(lines, [part](const std::wstring& line) { return !contains(line, part); });
  return lines;
}

void forget_Calls(bool goes_on) {
  const Locked lock(record_lock);
  Lines().swap(recorded);
  is_Recording = goes_on;
}

long calls_ByStrangers() {
  return strangers;
}

long living_Objects() {
  return living;
}

bool fail_Call(long number, bool lasts) {
  is_Lasting = lasts;
  return calls_UntilFailure.exchange(number) <= 0;
}

bool is_ToFail(bool is_memory) {
  const long left = --calls_UntilFailure;
  return left == 0 || (left < 0 && is_memory && is_Lasting);
}

Log::Log() : Component(L"logging.logme", {{L"LogfileName", answers({})}, {L"logge", answers({})}}) {
  set_Value(norvak + L"AlwaysDebug", L"1");
  set_Value(norvak + L"AlternativeWritePath", L"c:\\");
}

Lines Log::messages() const {
  auto lines = calls(L"logge(");
  for (auto& line : lines) {
    const auto start = line.find(L": ") + 2;
    line = line.substr(start, line.rfind(L", ") - start);
  }
  return lines;
}
