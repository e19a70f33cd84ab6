#include "VUSL/Support/Singleton.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "VUSL/Support/ConfigMemory.h"
#include "VUSL/Support/Exception.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

static_assert(std::has_virtual_destructor_v<Singleton<IConfig>>);

TEST(SingletonTest, registeredInstanceIsFound) {
  ConfigMemory store;
  const Singleton<IConfig> holder(&store);
  EXPECT_EQ(Singleton<IConfig>::getInstance(), &store);
  EXPECT_EQ(Singleton<IConfig>::instanceOrNull(), &store);
}

TEST(SingletonTest, withoutAnInstanceGettingItThrowsWithTheTypesName) {
  EXPECT_EQ(thrownBy<Exception>([] { Singleton<IConfig>::getInstance(); }),
            "Singleton::getInstance():NULL instance of class IConfig");
  EXPECT_EQ(Singleton<IConfig>::instanceOrNull(), nullptr);
}

TEST(SingletonTest, secondRegistrationThrowsAndTheFirstStays) {
  ConfigMemory first;
  ConfigMemory second;
  const Singleton<IConfig> holder(&first);
  EXPECT_EQ(thrownBy<Exception>([&] { const Singleton<IConfig> another(&second); }),
            "Singleton:instance already set");
  EXPECT_EQ(Singleton<IConfig>::getInstance(), &first);
}

TEST(SingletonTest, onceTheHolderIsDestroyedRegisteringSucceedsAgain) {
  ConfigMemory first;
  ConfigMemory second;
  { const Singleton<IConfig> holder(&first); }
  const Singleton<IConfig> holder(&second);
  EXPECT_EQ(Singleton<IConfig>::getInstance(), &second);
}

TEST(SingletonTest, destroyingTheHolderClearsAPointerThatWasNeverRead) {
  ConfigMemory store;
  { const Singleton<IConfig> holder(&store); }
  EXPECT_EQ(Singleton<IConfig>::instanceOrNull(), nullptr);
}

TEST(SingletonTest, holderDoesNotOwnTheInstance) {
  ConfigMemory store;
  { const Singleton<IConfig> holder(&store); }
  EXPECT_TRUE(store.setSetting("still", "there"));
}

}  // namespace
