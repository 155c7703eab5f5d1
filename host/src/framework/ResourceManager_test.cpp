#include "kel/framework/ResourceManager.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "../testsupport/HostTestSupport.h"
#include "kel/framework/Exceptions.h"

namespace kel::framework {
namespace {

// Ids of a range no other test uses, since the manager is one per process.
constexpr long kStatus = 0x7A000001;
constexpr long kTen = 0x7A000002;
constexpr long kReplaced = 0x7A000003;
constexpr long kBraces = 0x7A000004;
constexpr long kNeverAdded = 0x7A0000FF;

class ResourceManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CResourceManager& resources = CResourceManager::Instance();
    resources.AddStringResource(kStatus, "Test on Status on {1}: {2}.");
    resources.AddStringResource(kTen, "{1}{2}{3}{4}{5}{6}{7}{8}{9}{10}|{1}");
    resources.AddStringResource(kBraces, "{ {x} {} {0} {-1} {{1}} {1");
  }
};

TEST_F(ResourceManagerTest, FillsNumberedPlaceholdersAndCopiesEverythingElse) {
  EXPECT_EQ((ResourceFormatter(kStatus) << "P1" << "Recording statistics").ToString(),
            "Test on Status on P1: Recording statistics.");
  EXPECT_EQ((ResourceFormatter(kStatus) << 7 << 2.5).ToString(), "Test on Status on 7: 2.5.");

  std::ostringstream out;
  out << (ResourceFormatter(kStatus) << "P2" << "idle");
  EXPECT_EQ(out.str(), "Test on Status on P2: idle.");
  EXPECT_EQ((ResourceFormatter(kStatus) << "P1").ToString(), "Test on Status on P1: {2}.");
  EXPECT_EQ((ResourceFormatter(kStatus) << "a" << "b" << "c").ToString(),
            "Test on Status on a: b.");

  ResourceFormatter formatter(kTen);
  for (char c = 'a'; c <= 'i'; ++c) formatter << c;
  EXPECT_EQ(formatter.ToString(), "abcdefghi{10}|a");
  formatter << "J";
  EXPECT_EQ(formatter.ToString(), "abcdefghiJ|a");
  EXPECT_EQ((ResourceFormatter(kBraces) << "A").ToString(), "{ {x} {} {0} {-1} {A} {1");
}

TEST_F(ResourceManagerTest, AnIdAddedAgainIsReplacedIdsAreListedAscendingAndUnknownOnesNamed) {
  CResourceManager& resources = CResourceManager::Instance();
  resources.AddStringResource(kReplaced, "old {1}");
  resources.AddStringResource(kReplaced, "new {1}");
  EXPECT_EQ((ResourceFormatter(kReplaced) << 1).ToString(), "new 1");

  EXPECT_FALSE(resources.HasStringResource(kNeverAdded));
  EXPECT_EQ(test::ThrownText<CKelRunTimeError>([&] { resources.GetStringResource(kNeverAdded); }),
            "Unknown string resource 0x7A0000FF");
  EXPECT_THROW(ResourceFormatter{kNeverAdded}, CKelRunTimeError);

  const std::vector<long> ids = resources.GetStringResourceIds();
  EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
  for (long id : {kStatus, kTen, kBraces, kReplaced}) {
    EXPECT_EQ(std::count(ids.begin(), ids.end(), id), 1) << std::hex << id;
  }
}

}  // namespace
}  // namespace kel::framework
