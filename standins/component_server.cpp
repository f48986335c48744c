#include "standins/component_server.h"

#include <wrl/client.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <new>

#include "base/unknown.h"

namespace standins {
namespace {

struct ModuleState {
  HINSTANCE Instance;
  std::atomic<long> References;  // objects, factories and server locks
};
ModuleState module_state;

// Counts one reference to the module for as long as it exists.
struct ModuleReference {
  ModuleReference() { ++module_state.References; }
  ~ModuleReference() { --module_state.References; }
  ModuleReference(const ModuleReference&) = delete;
  ModuleReference& operator=(const ModuleReference&) = delete;
};

bool are_EqualNames(const wchar_t* left, const wchar_t* right) {
  return CompareStringOrdinal(left, -1, right, -1, TRUE) == CSTR_EQUAL;
}

// Runs the body of a COM entry; whatever it throws becomes the call's result.
template <typename Body>
HRESULT run_Guarded(Body body) noexcept {
  try {
    return body();
  } catch (const _com_error& error) {
    return error.Error();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

std::vector<_variant_t> collect_Arguments(const DISPPARAMS& parameters) {
  std::vector<_variant_t> arguments(parameters.cArgs);
  // The platform hands arguments over last one first.
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const auto result = VariantCopyInd(&arguments[arguments.size() - 1 - i], &parameters.rgvarg[i]);
    if (FAILED(result))
      throw _com_error(result);
  }
  return arguments;
}

// One DLL serves under every name, because it goes by the name of its own file. Throws where no
// component has that name.
const Component& component() {
  const auto name = find_ModuleFile().stem();
  for (const Component* candidate : {&log_component, &pdf_editor_component, &semaphore_component,
                                     &signer_component, &translator_component, &value_store_component}) {
    if (are_EqualNames(candidate->FileName, name.c_str()))
      return *candidate;
  }
  throw _com_error(CLASS_E_CLASSNOTAVAILABLE);
}

class ComponentObject final : public Unknown<IDispatch> {
 public:
  ComponentObject() : m_component(component()), m_members(m_component.create_Members()) {}

  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (count == nullptr)
      return E_POINTER;
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    if (info != nullptr)
      *info = nullptr;
    return E_NOTIMPL;
  }

  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    if (names == nullptr || ids == nullptr || count == 0)
      return E_INVALIDARG;
    std::fill_n(ids, count, DISPID_UNKNOWN);
    const auto found = std::ranges::find_if(
        m_members, [&](const Member& member) { return are_EqualNames(member.Name, names[0]); });
    if (found == m_members.end())
      return DISP_E_UNKNOWNNAME;
    ids[0] = static_cast<DISPID>(found - m_members.begin()) + 1;
    return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;  // the arguments have no names
  }

  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD uses, DISPPARAMS* parameters, VARIANT* result,
                      EXCEPINFO* exception, UINT*) override {
    if (parameters == nullptr)
      return E_POINTER;
    const Member* const member = find_Member(id, uses);
    if (member == nullptr)
      return DISP_E_MEMBERNOTFOUND;
    if (parameters->cArgs != member->ArgumentCount)
      return DISP_E_BADPARAMCOUNT;
    const HRESULT code = run_Guarded([&] {
      _variant_t answer = member->Run(collect_Arguments(*parameters));
      if (result != nullptr)
        *result = answer.Detach();
      return S_OK;
    });
    return FAILED(code) ? report_Failure(code, exception) : S_OK;
  }

 private:
  const Member* find_Member(DISPID id, WORD uses) const {
    if (id < 1 || static_cast<std::size_t>(id) > m_members.size())
      return nullptr;
    const wchar_t* const name = m_members[static_cast<std::size_t>(id) - 1].Name;
    const auto found = std::ranges::find_if(m_members, [&](const Member& member) {
      return (member.Uses & uses) != 0 && are_EqualNames(member.Name, name);
    });
    return found == m_members.end() ? nullptr : &*found;
  }

  // Callers that cannot take the details get the code itself.
  HRESULT report_Failure(HRESULT code, EXCEPINFO* exception) const noexcept {
    if (exception == nullptr)
      return code;
    *exception = EXCEPINFO{};
    exception->scode = code;
    exception->bstrSource = SysAllocString(m_component.ProgId);
    return DISP_E_EXCEPTION;
  }

  ModuleReference m_module;
  const Component& m_component;
  std::vector<Member> m_members;
};

class ClassFactory final : public Unknown<IClassFactory> {
 public:
  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (object == nullptr)
      return E_POINTER;
    *object = nullptr;
    if (outer != nullptr)
      return CLASS_E_NOAGGREGATION;
    return run_Guarded([&] {
      const Microsoft::WRL::ComPtr<IDispatch> created(new ComponentObject());
      return created->QueryInterface(iid, object);
    });
  }
  STDMETHODIMP LockServer(BOOL lock) override {
    module_state.References += lock ? 1 : -1;
    return S_OK;
  }

 private:
  ModuleReference m_module;
};

// The registration, below the machine's classes.
struct RegistrationRow {
  std::wstring Key;
  const wchar_t* Name;  // nullptr: the default value
  std::wstring Text;
};

constexpr const wchar_t* classes_root = L"Software\\Classes\\";

std::wstring compose_ClassKey(const Component& served) {
  std::array<wchar_t, 39> text{};  // a class identifier in braces and its NUL
  StringFromGUID2(served.ClassId, text.data(), static_cast<int>(text.size()));
  return L"CLSID\\" + std::wstring(text.data());
}

std::vector<RegistrationRow> compose_Registration() {
  const Component& served = component();
  const auto class_key = compose_ClassKey(served);
  const std::wstring server_key = class_key + L"\\InprocServer32";
  const std::wstring class_id = class_key.substr(class_key.find(L'{'));
  return {
      {class_key, nullptr, served.ProgId},
      {class_key + L"\\ProgID", nullptr, served.ProgId},
      {server_key, nullptr, find_ModuleFile().wstring()},
      {server_key, L"ThreadingModel", L"Apartment"},
      {served.ProgId, nullptr, served.ProgId},
      {served.ProgId + std::wstring(L"\\CLSID"), nullptr, class_id},
  };
}

HRESULT remove_Registration() {
  HRESULT result = S_OK;
  const Component& served = component();
  for (const std::wstring& key : {std::wstring(served.ProgId), compose_ClassKey(served)}) {
    const LSTATUS code = RegDeleteTreeW(HKEY_LOCAL_MACHINE, (classes_root + key).c_str());
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND)
      result = HRESULT_FROM_WIN32(static_cast<DWORD>(code));
  }
  return result;
}

HRESULT write_Registration() {
  for (const RegistrationRow& row : compose_Registration()) {
    const LSTATUS code =
        RegSetKeyValueW(HKEY_LOCAL_MACHINE, (classes_root + row.Key).c_str(), row.Name, REG_SZ,
                        row.Text.c_str(), static_cast<DWORD>((row.Text.size() + 1) * sizeof(wchar_t)));
    if (code != ERROR_SUCCESS) {
      // Half a registration would make creation fail in ways that the caller's own repair does not recognise.
      remove_Registration();
      return SELFREG_E_CLASS;
    }
  }
  return S_OK;
}

}  // namespace

std::filesystem::path find_ModuleFile() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetModuleFileNameW(module_state.Instance, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(path.size() * 2);
  }
}

std::wstring as_Text(const _variant_t& argument) {
  _variant_t text;
  text.ChangeType(VT_BSTR, &argument);
  return {V_BSTR(&text), SysStringLen(V_BSTR(&text))};
}

void throw_UnlessSuccess(LSTATUS code) {
  if (code != ERROR_SUCCESS)
    throw _com_error(HRESULT_FROM_WIN32(static_cast<DWORD>(code)));
}

}  // namespace standins

// Keeps the module handle; nothing else may happen under the loader's lock.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void*) {
  if (reason == DLL_PROCESS_ATTACH)
    standins::module_state.Instance = instance;
  return TRUE;
}

// The factory of the component's class.
STDAPI DllGetClassObject(REFCLSID class_id, REFIID iid, void** object) {
  if (object == nullptr)
    return E_POINTER;
  *object = nullptr;
  return standins::run_Guarded([&] {
    if (class_id != standins::component().ClassId)
      return CLASS_E_CLASSNOTAVAILABLE;
    const Microsoft::WRL::ComPtr<IClassFactory> factory(new standins::ClassFactory());
    return factory->QueryInterface(iid, object);
  });
}

// S_OK when nothing of the component is in use.
STDAPI DllCanUnloadNow() {
  return standins::module_state.References == 0 ? S_OK : S_FALSE;
}

// Registers the component for all users of the machine, from where its DLL lies now.
STDAPI DllRegisterServer() {
  return standins::run_Guarded(standins::write_Registration);
}

// Removes what DllRegisterServer wrote.
STDAPI DllUnregisterServer() {
  return standins::run_Guarded(standins::remove_Registration);
}
