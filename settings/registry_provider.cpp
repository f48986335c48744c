#include "settings/registry_provider.h"

#include <algorithm>
#include <functional>
#include <new>
#include <span>

#include "base/apartment.h"
#include "base/boundary.h"
#include "base/text.h"
#include "components/automation.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr wchar_t provider_class[] = L"StdRegProv";

constinit PerApartment<ComPtr<IWbemServices>> kept_services;

ComPtr<IWbemServices> connect() {
  ComPtr<IWbemServices> services(*kept_services);
  ComPtr<IWbemLocator> locator;
  if (services ||
      FAILED(
          CoCreateInstance(__uuidof(WbemLocator), nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&locator))) ||
      FAILED(locator->ConnectServer(_bstr_t(LR"(root\default)"), nullptr, nullptr, nullptr,
                                    WBEM_FLAG_CONNECT_USE_MAX_WAIT, nullptr, nullptr, &services)))
    return services;
  CoSetProxyBlanket(services.Get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE, nullptr, RPC_C_AUTHN_LEVEL_CALL,
                    RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE);
  *kept_services = services;
  return services;
}

// The in-parameters of a method; null when the provider or the method is missing.
ComPtr<IWbemClassObject> find_Parameters(IWbemServices* services, const wchar_t* method) {
  ComPtr<IWbemClassObject> methods;
  ComPtr<IWbemClassObject> signature;
  ComPtr<IWbemClassObject> parameters;
  if (FAILED(services->GetObject(_bstr_t(provider_class), 0, nullptr, &methods, nullptr)))
    kept_services->Reset();
  else if (SUCCEEDED(methods->GetMethod(method, 0, &signature, nullptr)) && signature)
    signature->SpawnInstance(0, &parameters);
  return parameters;
}

// Numbers are offered signed first, then unsigned, since implementations differ in what they take.
bool put(IWbemClassObject* parameters, const ProviderArgument& argument) {
  auto value = argument.second;
  if (SUCCEEDED(parameters->Put(argument.first, 0, &value, 0)))
    return true;
  value.vt = value.vt == VT_I4 ? VARTYPE{VT_UI4} : value.vt;
  return SUCCEEDED(parameters->Put(argument.first, 0, &value, 0));
}

std::optional<ProviderAnswer> call(IWbemServices* services, const wchar_t* method,
                                   IWbemClassObject* parameters) {
  ProviderAnswer answer{};
  if (FAILED(services->ExecMethod(_bstr_t(provider_class), _bstr_t(method), 0, nullptr, parameters,
                                  &answer.Results, nullptr)))
    kept_services->Reset();
  const auto code = answer.get(L"ReturnValue");
  if (code.vt != VT_I4 && code.vt != VT_UI4)
    return {};
  answer.ReturnCode = code.lVal;
  return answer;
}

}  // namespace

_variant_t ProviderAnswer::get(const wchar_t* name) const {
  _variant_t value;
  if (Results)
    Results->Get(name, 0, &value, nullptr, nullptr);
  return value;
}

std::optional<ProviderAnswer> call_Provider(const wchar_t* method, const RegistryPlace& place,
                                            std::vector<ProviderArgument> arguments) noexcept {
  std::optional<ProviderAnswer> answer;
  run_Guarded([&] {
    const auto services = connect();
    const auto parameters = services ? find_Parameters(services.Get(), method) : nullptr;
    if (!parameters)
      return;
    arguments.emplace_back(L"hDefKey", static_cast<long>(reinterpret_cast<INT_PTR>(place.Root)));
    arguments.emplace_back(L"sSubKeyName", text_Argument(place.Key));
    for (const auto& argument : arguments)
      if (!put(parameters.Get(), argument))
        return;
    answer = call(services.Get(), method, parameters.Get());
  });
  return answer;
}
