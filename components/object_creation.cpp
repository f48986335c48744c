#include "components/object_creation.h"

#include <algorithm>
#include <list>
#include <utility>

#include "base/account.h"
#include "base/apartment.h"
#include "base/boundary.h"
#include "base/handles.h"
#include "base/module.h"
#include "base/process_values.h"
#include "components/remote_component.h"
#include "files/file_names.h"

using Microsoft::WRL::ComPtr;

namespace {

// Every right-click makes the same objects, and looking their classes up in the registry takes longer than
// making them.
class KnownFactory {
 public:
  KnownFactory(std::wstring progid, ComPtr<IClassFactory> factory)
      : m_progid(std::move(progid)), m_factory(std::move(factory)) {
    m_factory->LockServer(TRUE);
  }
  KnownFactory(const KnownFactory&) = delete;
  KnownFactory& operator=(const KnownFactory&) = delete;
  ~KnownFactory() { m_factory->LockServer(FALSE); }

  bool makes(std::wstring_view progid) const { return m_progid == progid; }
  ComPtr<IClassFactory> get() const { return m_factory; }

 private:
  std::wstring m_progid;
  ComPtr<IClassFactory> m_factory;
};

constinit PerApartment<std::list<KnownFactory>> known_factories;

// A factory that fails is forgotten, so that the class is looked up again.
AutomationObject create_ByKnownFactory(std::wstring_view progid) {
  AutomationObject object;
  const auto makes = [progid](const KnownFactory& factory) { return factory.makes(progid); };
  const auto known = std::ranges::find_if(*known_factories, makes);
  if (known != known_factories->end() && FAILED(known->get()->CreateInstance(nullptr, IID_PPV_ARGS(&object))))
    known_factories->remove_if(makes);
  return object;
}

}  // namespace

AutomationObject create_Object(const wchar_t* progid, [[maybe_unused]] DWORD answer_limit) noexcept {
  assert_Unlocked();
  AutomationObject object;
  if (is_ApartmentEnding() || is_ServiceAccount())
    return object;
  run_Guarded([&] { object = create_ByKnownFactory(progid); });
  CLSID clsid{};
  if (object || FAILED(CLSIDFromProgID(progid, &clsid)))
    return object;
  // A 64-bit program finds the suite's components in other processes as a rule. For a 32-bit one this is an
  // exception, and a factory that is kept would keep that process alive.
  ComPtr<IClassFactory> factory;
  if (FAILED(CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)))) {
    if constexpr (is_SuitesBitness)
      CoCreateInstance(clsid, nullptr, CLSCTX_LOCAL_SERVER, IID_PPV_ARGS(&object));
    else
      run_Guarded([&] { factory = make_RemoteFactory(clsid, answer_limit); });
  }
  if (factory && SUCCEEDED(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object))))
    run_Guarded([&] { known_factories->emplace_back(progid, factory); });
  return object;
}

namespace {

// Its dependents come from its own folder or from the system's. Where the system does not know that search,
// the folders of the process and the search path come after these two.
unique_hmodule load_Server(const std::wstring& path) {
  constexpr DWORD own_and_systems = LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_SYSTEM32;
  unique_hmodule server(LoadLibraryExW(path.c_str(), nullptr, own_and_systems));
  if (!server && GetLastError() == ERROR_INVALID_PARAMETER)
    server.reset(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
  return server;
}

}  // namespace

bool register_Server(const std::wstring& path) noexcept {
  if (!is_FullPath(path))  // it would be looked for in the current folder too
    return false;
  const auto server = load_Server(path);
  if (!server)
    return false;
  const auto entry = GetProcAddress(server.get(), "DllRegisterServer");
  return entry != nullptr &&
         SUCCEEDED(reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(entry))());
}
