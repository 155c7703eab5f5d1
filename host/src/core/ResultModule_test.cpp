#include "kel/core/ResultModule.h"

#include <set>
#include <string>
#include <vector>

#include "../testsupport/HostTestSupport.h"
#include "kel/framework/Exceptions.h"

namespace kel::core {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class FakeResultHandler : public CResultHandler {
 public:
  explicit FakeResultHandler(std::string name) : m_name(std::move(name)) {}

  using CResultHandler::CollectAndSave;
  using CResultHandler::HandleSubscribe;
  using CResultHandler::UpdateSubscription;
  std::string GetName() const override { return m_name; }
  std::vector<ResultType> GetResultTypeVector() const override { return {}; }
  void HandleRequest(const ResultSpec&) override {}
  void HandleSubscribe(const ResultSubscription&, const unsigned&) override {}
  void HandleUnsubscribe(const unsigned&) override {}
  void UpdateSubscription() override {}
  void CollectAndSave(bool, std::set<framework::ClassId>&) override {}

 private:
  std::string m_name;
};

TEST(ResultModuleTest, HandlersKeepRegistrationOrderAndANameIsTakenOnce) {
  CResultModule& module = CResultModule::Instance();
  FakeResultHandler storage("storage");
  FakeResultHandler ports("ports");
  FakeResultHandler impostor("storage");

  module.RegisterResultHandler(&storage, true);
  module.RegisterResultHandler(&ports, false);
  module.RegisterResultHandler(&storage, false);
  const std::string refused = framework::test::ThrownText<framework::CKelLogicError>(
      [&] { module.RegisterResultHandler(&impostor, true); });
  EXPECT_THROW(module.RegisterResultHandler(nullptr, true), framework::CKelLogicError);

  EXPECT_THAT(module.GetResultHandlers(), ElementsAre(&storage, &ports));
  EXPECT_THAT(refused, HasSubstr("A result handler named storage is already registered"));
  EXPECT_EQ(module.FindResultHandler("storage"), &storage);

  module.UnregisterResultHandler(&storage);
  module.UnregisterResultHandler(&ports);
  EXPECT_TRUE(module.GetResultHandlers().empty());
  EXPECT_EQ(module.FindResultHandler("storage"), nullptr);
}

}  // namespace
}  // namespace kel::core
