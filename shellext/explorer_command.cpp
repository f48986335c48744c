#include "shellext/explorer_command.h"

#include <shlwapi.h>
#include <shobjidl.h>
#include <wrl/client.h>

#include <algorithm>
#include <array>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "base/account.h"
#include "base/boundary.h"
#include "base/log.h"
#include "base/module.h"
#include "base/text.h"
#include "base/unknown.h"
#include "components/patience.h"
#include "menu/access_keys.h"
#include "menu/composition.h"
#include "selection/selection_capture.h"
#include "settings/registry.h"
#include "settings/settings.h"
#include "shellext/certificate_cache.h"
#include "shellext/module_locks.h"

namespace {

using Microsoft::WRL::ComPtr;

constexpr const wchar_t* verb_title = L"Norvak";

// What a command does not have.
template <typename Result>
HRESULT answer_Nothing(Result* result) noexcept {
  if (result == nullptr)
    return E_POINTER;
  *result = {};
  return E_NOTIMPL;
}

HRESULT answer_Text(const wchar_t* text, wchar_t** copy) noexcept {
  return copy == nullptr ? E_POINTER : SHStrDupW(text, copy);
}

// What the verb and its children have in common.
class Command : public Unknown<IExplorerCommand> {
 public:
  STDMETHODIMP GetIcon(IShellItemArray*, wchar_t** icon) override { return answer_Nothing(icon); }
  STDMETHODIMP GetToolTip(IShellItemArray*, wchar_t** text) override { return answer_Nothing(text); }
  STDMETHODIMP GetCanonicalName(GUID* name) override { return answer_Nothing(name); }
};

class Child final : public Command {
 public:
  Child(const MenuItem& row, std::wstring caption) : m_row(row), m_caption(std::move(caption)) {}

  STDMETHODIMP GetTitle(IShellItemArray*, wchar_t** title) override {
    return answer_Text(m_caption.c_str(), title);
  }

  // The icon of a picture has the picture's number.
  STDMETHODIMP GetIcon(IShellItemArray* items, wchar_t** icon) override {
    if (m_row.CheckBitmap == 0)
      return Command::GetIcon(items, icon);
    return run_Guarded(E_OUTOFMEMORY, [&] {
      return answer_Text((get_ModulePath() + L",-" + decimal(static_cast<long>(m_row.CheckBitmap))).c_str(),
                         icon);
    });
  }

  // It was made because the selection gets it.
  STDMETHODIMP GetState(IShellItemArray*, BOOL, EXPCMDSTATE* state) override {
    if (state == nullptr)
      return E_POINTER;
    *state = ECS_ENABLED;
    return S_OK;
  }

  // The selection is the one that comes with the call, whatever was selected since the menu opened.
  STDMETHODIMP Invoke(IShellItemArray* items, IBindCtx*) override {
    const ComPtr<IExplorerCommand> own(this);
    const ActionPatience patience;
    run_Guarded([&] { run(items); });
    return S_OK;
  }

  STDMETHODIMP GetFlags(EXPCMDFLAGS* flags) override {
    if (flags == nullptr)
      return E_POINTER;
    *flags = ECF_DEFAULT;
    return S_OK;
  }

  STDMETHODIMP EnumSubCommands(IEnumExplorerCommand** commands) override { return answer_Nothing(commands); }

 private:
  ~Child() override = default;

  void run(IShellItemArray* items) const {
    const auto selection = capture_Selection(items);
    if (selection.Files.empty())
      return;
    CertificateCache cache;
    cache.ensure_Cache();
    debug_Log(L"ActionString: ", m_row.Picked.Keyword);
    run_Action(m_row.Picked, selection.Files, selection.Flags);
  }

  const MenuItem& m_row;
  const std::wstring m_caption;
  const ModuleLock m_lock;
};

// At most one an item. It can be copied where there is no memory.
struct Children {
  std::array<ComPtr<IExplorerCommand>, menu_items.size()> All;
  ULONG Count = 0;
  ULONG Next = 0;
};

class Enumeration final : public Unknown<IEnumExplorerCommand> {
 public:
  explicit Enumeration(Children children) : m_children(std::move(children)) {}

  STDMETHODIMP Next(ULONG count, IExplorerCommand** commands, ULONG* fetched) override {
    if (commands == nullptr || (fetched == nullptr && count != 1))
      return E_POINTER;
    ULONG given = 0;
    for (; given < count && m_children.Next < m_children.Count; ++given)
      m_children.All[m_children.Next++].CopyTo(&commands[given]);
    if (fetched != nullptr)
      *fetched = given;
    return given == count ? S_OK : S_FALSE;
  }

  STDMETHODIMP Skip(ULONG count) override {
    const auto skipped = std::min(count, m_children.Count - m_children.Next);
    m_children.Next += skipped;
    return skipped == count ? S_OK : S_FALSE;
  }

  STDMETHODIMP Reset() override {
    m_children.Next = 0;
    return S_OK;
  }

  STDMETHODIMP Clone(IEnumExplorerCommand** copy) override { return create(m_children, copy); }

  static HRESULT create(const Children& children, IEnumExplorerCommand** made) noexcept {
    if (made == nullptr)
      return E_POINTER;
    *made = new (std::nothrow) Enumeration(children);
    if (*made == nullptr)
      return E_OUTOFMEMORY;
    (*made)->AddRef();
    return S_OK;
  }

 private:
  ~Enumeration() override = default;

  Children m_children;
  const ModuleLock m_lock;
};

// Not from memory, which keeps the path that was read last: while the verb is hidden, nothing else is read.
bool is_SwitchedOff() {
  return trim(as_Text(find_Value(windows11_menu.Path).Value)) == L"0";
}

void make_Children(const SelectionFlags& flags, Children& children) {
  auto offer = offer_Items(flags);
  auto taken = access_Keys(offer.all(), nullptr);
  for (auto& item : offer.all())
    if (item.Row != nullptr)
      run_Guarded([&] {
        mark_AccessKey(item.Caption, taken);
        children.All[children.Count] = new Child(*item.Row, std::move(item.Caption));
        ++children.Count;
      });
}

class Verb final : public Command {
 public:
  Verb() = default;

  STDMETHODIMP GetTitle(IShellItemArray*, wchar_t** title) override { return answer_Text(verb_title, title); }

  // Windows asks whether it may be slow: yes for the first menu, and no for the classic one, where the
  // extension stands by itself. So nothing is there twice, and nothing waits.
  STDMETHODIMP GetState(IShellItemArray* items, BOOL may_be_slow, EXPCMDSTATE* state) override {
    if (state == nullptr)
      return E_POINTER;
    *state = ECS_HIDDEN;
    if (!may_be_slow || items == nullptr || is_ServiceAccount())
      return S_OK;
    const ComPtr<IExplorerCommand> own(this);
    begin_MenuPatience();
    if (run_Guarded(false, [&] { return look(items); }))
      *state = ECS_ENABLED;
    return S_OK;
  }

  STDMETHODIMP Invoke(IShellItemArray*, IBindCtx*) override { return E_NOTIMPL; }

  STDMETHODIMP GetFlags(EXPCMDFLAGS* flags) override {
    if (flags == nullptr)
      return E_POINTER;
    *flags = ECF_HASSUBCOMMANDS;
    return S_OK;
  }

  STDMETHODIMP EnumSubCommands(IEnumExplorerCommand** commands) override {
    const ComPtr<IExplorerCommand> own(this);
    begin_MenuPatience();
    Children children;
    if (m_offered)
      run_Guarded([&] { make_Children(*m_offered, children); });
    return Enumeration::create(children, commands);
  }

 private:
  ~Verb() override = default;

  // Whether the selection gets any item.
  bool look(IShellItemArray* items) {
    m_offered.reset();
    if (is_SwitchedOff())
      return false;
    const auto selection = capture_Selection(items);
    if (selection.Files.empty() || !has_Items(selection.Flags))
      return false;
    m_offered = selection.Flags;
    return true;
  }

  std::optional<SelectionFlags> m_offered;  // what is selected, where the verb was shown for it
  const ModuleLock m_lock;
};

}  // namespace

HRESULT create_ExplorerCommand(REFIID iid, void** object) noexcept {
  const ComPtr<Verb> created(new (std::nothrow) Verb);
  return created ? created->QueryInterface(iid, object) : E_OUTOFMEMORY;
}
