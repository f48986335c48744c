#include "suite/value_cache.h"

#include "base/text.h"
#include "settings/registry.h"
#include "tests/components.h"

namespace {

class ValueCache : public Machine {
 protected:
  ValueStore m_store;
};

TEST_F(ValueCache, BracketsEachAccessWithTheSemaphore) {
  const Log log;
  m_store.Values[L"K"] = L"v";
  EXPECT_EQ(get_PermanentCache(L"K"), L"v");
  m_store.Store->Table[L"info"] = answers(0L);
  set_PermanentCache(L"My ReaderLock", L"w");
  EXPECT_EQ(m_store.Values[L"My ReaderLock"], L"w");
  EXPECT_EQ(log.messages(), Lines{L"Permanent Cache: My ReaderLock"});
  auto made = calls();
  std::erase_if(made, [](const auto& call) { return contains(call, L"logg"); });
  const std::wstring take = L"+NorvakInter.SemaPhore", release = L"-NorvakInter.SemaPhore";
  const std::wstring wait = L"WaitingForSemaphore(", store = L"NorvakCertInstaller.iCache";
  EXPECT_EQ(made,
            (Lines{take, wait + L"PermanentCache, 666, 6:short)", take,
                   wait + L"load_permcache, 666, 6:short)", L"+" + store, release, L"get_PIN(K)", release,
                   take, wait + L"load_permcache, 666, 6:short)", L"+" + store, L"-" + store, release, take,
                   wait + L"set_PermanentCache, 666, 6:short)", L"set_PIN(My ReaderLock, w)", release}));
}

TEST_F(ValueCache, RemembersOneEntry) {
  get_PermanentCache(L"K");
  m_store.Values[L"K"] = L"changed";
  EXPECT_EQ(get_PermanentCache(L"K"), L"");
  for (const auto* value : {L"a", L"a", L"b"})
    set_PermanentCache(L"K", value);
  EXPECT_EQ(get_PermanentCache(L"K"), L"b");
  for (const auto* value : {L"b", L"", L""})
    set_PermanentCache(L"L", value);
  m_store.Values[L"K"] = L"changed";
  EXPECT_EQ(get_PermanentCache(L"K"), L"changed");
  EXPECT_EQ(get_PermanentCache(L"k"), L"");
  EXPECT_EQ(calls(L"_PIN("), (Lines{L"get_PIN(K)", L"set_PIN(K, a)", L"set_PIN(K, b)", L"set_PIN(L, b)",
                                    L"set_PIN(L, )", L"set_PIN(L, )", L"get_PIN(K)", L"get_PIN(k)"}));
}

TEST_F(ValueCache, CountsFromZero) {
  for (const auto* key : {L"key", L"saverkey", L"crypterkey", L"cspkey"})
    EXPECT_EQ(get_PermanentCache(key), L"0");
  EXPECT_EQ(get_PermanentCache(L"cspkey"), L"") << "the value of the store is remembered, not the zero";
  m_store.Values[L"key"] = L"5";
  EXPECT_EQ(get_PermanentCache(L"key"), L"5");
}

TEST_F(ValueCache, RestsWhileQuietAndIsEmptyWithoutAStore) {
  set_PermanentCache(L" ", L"v");
  set_QuietState(true);
  set_PermanentCache(L"K", L"v");
  EXPECT_EQ(get_PermanentCache(L"K"), L"");
  EXPECT_FALSE(load_permcache());
  EXPECT_EQ(calls(), Lines{});
  set_QuietState(false);
  m_store.Store->IsCreatable = false;
  EXPECT_FALSE(load_permcache());
}

}  // namespace
