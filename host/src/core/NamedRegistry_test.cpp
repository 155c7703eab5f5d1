#include "kel/core/NamedRegistry.h"

#include <string>

#include "../testsupport/HostTestSupport.h"
#include "kel/framework/Exceptions.h"

namespace kel::core {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Named {
  std::string name;
  const std::string& GetName() const { return name; }
};

std::string Refusal(NamedRegistry<Named>& registry, Named* entry) {
  return framework::test::ThrownText<framework::CKelLogicError>([&] { registry.Register(entry); });
}

TEST(NamedRegistryTest, KeepsRegistrationOrderAndTakesEachObjectOnce) {
  NamedRegistry<Named> registry("widget");
  Named first{"first"};
  Named second{"second"};

  registry.Register(&first);
  registry.Register(&second);
  registry.Register(&first);

  EXPECT_THAT(registry.Entries(), ElementsAre(&first, &second)) << "registering again neither adds nor moves";
  EXPECT_EQ(registry.Find("second"), &second);
  EXPECT_EQ(registry.Find("third"), nullptr);
}

TEST(NamedRegistryTest, RefusesNullAndATakenNameAndRegistersNothingThen) {
  NamedRegistry<Named> registry("widget");
  Named owner{"shared"};
  Named impostor{"shared"};
  registry.Register(&owner);

  EXPECT_EQ(Refusal(registry, &impostor), "A widget named shared is already registered");
  EXPECT_EQ(Refusal(registry, nullptr), "Cannot register a null widget");
  EXPECT_THAT(registry.Entries(), ElementsAre(&owner));
  EXPECT_EQ(registry.Find("shared"), &owner);
}

TEST(NamedRegistryTest, UnregisteringFreesTheNameAndIgnoresStrangers) {
  NamedRegistry<Named> registry("widget");
  Named owner{"shared"};
  Named successor{"shared"};
  Named stranger{"stranger"};
  registry.Register(&owner);

  registry.Unregister(&stranger);
  EXPECT_THAT(registry.Entries(), ElementsAre(&owner));
  registry.Unregister(&owner);
  EXPECT_THAT(registry.Entries(), IsEmpty());
  EXPECT_EQ(registry.Find("shared"), nullptr);

  registry.Register(&successor);
  EXPECT_EQ(registry.Find("shared"), &successor);
}

}  // namespace
}  // namespace kel::core
