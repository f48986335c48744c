#include "base/apartment.h"

#include <windows.h>

#include <objbase.h>

#include <wrl/client.h>

#include <algorithm>
#include <atomic>
#include <new>
#include <utility>
#include <vector>

#include "base/thread_slot.h"
#include "base/unknown.h"

using Microsoft::WRL::ComPtr;

namespace {

constinit ThreadSlot slot;  // each thread's apartment
constinit std::atomic<long> apartments = 0;

// The parts of one thread. COM tells it about the apartment that the thread enters and leaves.
class Apartment final : public Unknown<IInitializeSpy> {
 public:
  STDMETHODIMP PreInitialize(DWORD, DWORD) override { return S_OK; }
  STDMETHODIMP PostInitialize(HRESULT outcome, DWORD, DWORD) override { return outcome; }
  STDMETHODIMP PreUninitialize(DWORD entered) override {
    if (entered == 1)
      end_Parts();
    return S_OK;
  }
  STDMETHODIMP PostUninitialize(DWORD entered) override {
    if (entered == 0)
      leave_Apartment();
    return S_OK;
  }

  ApartmentPart& find(const void* key, std::unique_ptr<ApartmentPart> (*make)()) {
    const auto found = std::ranges::find(m_parts, key, &Entry::first);
    if (found != m_parts.end())
      return *found->second;
    auto made = make();
    return *m_parts.emplace_back(key, std::move(made)).second;
  }
  bool is_Ending() const { return m_is_ending; }
  void end_Parts() {
    m_is_ending = true;
    while (!m_parts.empty()) {  // what a part's end asks for is made again, and ends too
      const auto last = std::move(m_parts.back());
      m_parts.pop_back();
    }
  }

  // By which COM knows it.
  ULARGE_INTEGER& cookie() { return m_cookie; }

 private:
  using Entry = std::pair<const void*, std::unique_ptr<ApartmentPart>>;
  ULARGE_INTEGER m_cookie{};
  std::vector<Entry> m_parts;
  bool m_is_ending = false;
};

// Null while this thread has none.
Apartment* known_Apartment() {
  return static_cast<Apartment*>(slot.get());
}

Apartment& enter_Apartment() {
  ComPtr<Apartment> apartment(new Apartment);
  if (FAILED(CoRegisterInitializeSpy(apartment.Get(), &apartment->cookie())))
    throw std::bad_alloc();
  if (!slot.set(apartment.Get())) {
    CoRevokeInitializeSpy(apartment->cookie());
    throw std::bad_alloc();
  }
  ++apartments;
  return *apartment.Detach();
}

}  // namespace

ApartmentPart& find_Part(const void* key, std::unique_ptr<ApartmentPart> (*make)()) {
  auto* known = known_Apartment();
  return (known != nullptr ? *known : enter_Apartment()).find(key, make);
}

bool has_Apartment() noexcept {
  return known_Apartment() != nullptr;
}

bool is_ApartmentEnding() noexcept {
  const auto* known = known_Apartment();
  return known != nullptr && known->is_Ending();
}

void leave_Apartment() noexcept {
  auto* apartment = known_Apartment();
  if (apartment == nullptr)
    return;
  apartment->end_Parts();
  slot.set(nullptr);
  CoRevokeInitializeSpy(apartment->cookie());
  apartment->Release();
  --apartments;
}

bool are_ApartmentsLeft() noexcept {
  return apartments != 0;
}

void end_Apartments() noexcept {
  slot.give_Back();
}
