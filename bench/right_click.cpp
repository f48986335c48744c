#include "bench/right_click.h"

#include <shlobj.h>
#include <wrl/client.h>

#include <numeric>

#include "base/handles.h"
#include "bench/stopwatch.h"

namespace {

using unique_hmenu = unique_handle<HMENU, &DestroyMenu>;

}  // namespace

std::optional<Times> right_Click(REFCLSID handler, IDataObject* selection) {
  constexpr UINT first_identifier = 100;
  const unique_hmenu menu(CreatePopupMenu());
  Microsoft::WRL::ComPtr<IShellExtInit> object;
  Microsoft::WRL::ComPtr<IContextMenu> extension;
  Times times{};
  const auto time_Of = [&times](Phase phase) -> double& { return times[static_cast<std::size_t>(phase)]; };
  Stopwatch watch;
  if (FAILED(CoCreateInstance(handler, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object))) ||
      FAILED(object.As(&extension)))
    return {};
  time_Of(Phase::Create) = watch.lap();
  if (FAILED(object->Initialize(nullptr, selection, nullptr)))
    return {};
  time_Of(Phase::Initialize) = watch.lap();
  const HRESULT items = extension->QueryContextMenu(menu.get(), 0, first_identifier, 0x7FFF, CMF_NORMAL);
  time_Of(Phase::QueryContextMenu) = watch.lap();
  for (HRESULT item = 0; item < items; ++item) {
    std::array<wchar_t, 512> text;
    extension->GetCommandString(static_cast<UINT_PTR>(item), GCS_HELPTEXTW, nullptr,
                                reinterpret_cast<char*>(text.data()), text.size() - 1);
  }
  time_Of(Phase::GetCommandString) = watch.lap();
  extension.Reset();
  object.Reset();
  time_Of(Phase::Release) = watch.lap();
  time_Of(Phase::Total) = std::accumulate(times.begin(), times.end(), 0.0);
  return times;
}
