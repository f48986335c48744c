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
#include "components/server_file.h"
#include "files/file_names.h"
#include "files/trust.h"

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
  unique_hmodule server;
  const bool is_prepared = run_Guarded(false, [&] { return prepare_Server(clsid, server); });
  if (!is_prepared ||
      FAILED(CoGetClassObject(clsid, CLSCTX_INPROC_SERVER, nullptr, IID_PPV_ARGS(&factory)))) {
    if constexpr (!is_SuitesBitness) {
      run_Guarded([&] {
        if (may_ObeyRemoteServer(clsid))
          factory = make_RemoteFactory(clsid, answer_limit);
      });
    } else if (!is_Elevated()) {
      CoCreateInstance(clsid, nullptr, CLSCTX_LOCAL_SERVER, IID_PPV_ARGS(&object));
    }
  }
  if (factory && SUCCEEDED(factory->CreateInstance(nullptr, IID_PPV_ARGS(&object))))
    run_Guarded([&] { known_factories->emplace_back(progid, factory); });
  return object;
}

bool register_Server(const std::wstring& path) noexcept {
  if (!is_FullPath(path) || !run_Guarded(false, [&path] { return may_Obey(path); }))
    return false;
  const auto server = load_Server(path);
  if (!server)
    return false;
  const auto entry = GetProcAddress(server.get(), "DllRegisterServer");
  return entry != nullptr &&
         SUCCEEDED(reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(entry))());
}
