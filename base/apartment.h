// What belongs to one thread of Explorer. Each of its windows runs on a thread of its own, an apartment, all
// in one process with this DLL: a selection, its menu and the components that serve it are never another
// window's.
//
// A module declares its part of it in an unnamed namespace,
//   constinit PerApartment<State> state;
// and each thread has a State of its own, made when the thread first asks for it. All parts of a thread are
// let go on that thread, before its apartment ends or when the DLL may be unloaded; the later made first. A
// thread that ends without ending its apartment leaves them behind, since no component may be called by then,
// and the DLL stays loaded.
#pragma once

#include <memory>

class ApartmentPart {
 public:
  ApartmentPart() = default;
  ApartmentPart(const ApartmentPart&) = delete;
  ApartmentPart& operator=(const ApartmentPart&) = delete;
  virtual ~ApartmentPart() = default;
};

// This thread's part that goes by the key; `make` makes it. Throws when memory runs out.
ApartmentPart& find_Part(const void* key, std::unique_ptr<ApartmentPart> (*make)());

template <typename State>
class PerApartment {
 public:
  constexpr PerApartment() = default;
  ~PerApartment() = default;
  PerApartment(const PerApartment&) = delete;
  PerApartment& operator=(const PerApartment&) = delete;

  // This thread's own, in one place until its apartment ends. Throws when memory for it runs out.
  State& operator*() const { return static_cast<Part&>(find_Part(this, make)).Content; }
  State* operator->() const { return std::addressof(**this); }

 private:
  struct Part : ApartmentPart {
    State Content{};
  };
  static std::unique_ptr<ApartmentPart> make() { return std::make_unique<Part>(); }
};

// Whether this thread has parts, or had some whose end is awaited.
bool has_Apartment() noexcept;

// Whether the parts of this thread are being let go: no component may be made any more.
bool is_ApartmentEnding() noexcept;

// Lets this thread's parts go.
void leave_Apartment() noexcept;

// Whether some thread has parts; the DLL is needed until none has.
bool are_ApartmentsLeft() noexcept;

// Gives back what the process keeps for the parts; called when the DLL goes.
void end_Apartments() noexcept;
