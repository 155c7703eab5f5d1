#include "kel/framework/MetaClass.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "kel/framework/HostClassIds.h"

namespace kel::framework {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

// Each test loads its classes into a block of its own, because the registry lives for the process.
class MetaClassTest : public ::testing::Test {
 protected:
  // Load errors are also logged; the expected ones stay off the terminal.
  void SetUp() override {
    manager.TakeDataModelErrors();
    ::testing::internal::CaptureStderr();
  }
  void TearDown() override { ::testing::internal::GetCapturedStderr(); }

  CMetaClassManager& manager = CMetaClassManager::Instance();
};

TEST_F(MetaClassTest, ClassesAppearOnceDescribedAndActivatedInEitherOrder) {
  manager.AddDataModelDescription(R"(
idBlock: 0x7f000000
classes:
  - id: 0x7f001000
    name: McShape
    abstract: true
    properties:
      - {id: 0x7f001001, name: Sides, type: u8, default: 4}
      - {id: 0x7f001002, name: Tags, type: handles, default: [1, 0x10]}
  - id: 0x7f002000
    name: McSquare
    base: McShape
    properties:
      - {id: 0x7f002001, name: Edge, type: double, default: 2.5}
relations:
  - {id: 0x7f000001, name: McCovers, source: McSquare, target: Port, single: true}
)",
                                  "describedFirst.yaml");
  EXPECT_EQ(manager.GetClass(0x7f002000), nullptr) << "not active yet";
  manager.ActivateDataModel(0x7f000000);

  manager.ActivateDataModel(0x7d000000);
  manager.AddDataModelDescription(
      "idBlock: 0x7d000000\nclasses:\n  - {id: 0x7d001000, name: McCircle, base: McShape}\n", "activatedFirst.yaml");

  EXPECT_TRUE(manager.TakeDataModelErrors().empty());
  const CMetaClass* square = manager.GetClass("McSquare");
  const CMetaClass* circle = manager.GetClass(0x7d001000);
  ASSERT_NE(square, nullptr);
  ASSERT_NE(circle, nullptr);
  EXPECT_TRUE(manager.GetClass("McShape")->IsAbstract());
  EXPECT_FALSE(square->IsAbstract());
  EXPECT_TRUE(circle->IsTypeOf(0x7f001000));
  EXPECT_FALSE(circle->IsTypeOf(0x7f002000));

  const std::vector<PropertyDesc>& properties = square->GetProperties();
  ASSERT_EQ(properties.size(), 3u) << "the base's properties first, then the class's own";
  EXPECT_EQ(properties[0].name, "Sides");
  EXPECT_EQ(properties[0].defaultValue, PropertyValue(std::uint8_t{4}));
  EXPECT_EQ(properties[1].defaultValue, PropertyValue(HandleList{1, 16}));
  EXPECT_EQ(properties[2].defaultValue, PropertyValue(2.5));
  EXPECT_EQ(square->FindPropertyIndex(0x7f002001u), 2);
  EXPECT_EQ(circle->FindPropertyIndex("Edge"), -1);

  const RelationDesc* covers = manager.GetRelation(0x7f000001);
  ASSERT_NE(covers, nullptr);
  EXPECT_EQ(covers->source, 0x7f002000u);
  EXPECT_EQ(covers->target, classid::Port);
  EXPECT_TRUE(covers->single);
  EXPECT_EQ(manager.GetClassesOfBlock(0x7f000000).size(), 2u);
}

TEST_F(MetaClassTest, ADescriptionThatCannotBeLoadedIsKeptAsAClearError) {
  struct Case {
    const char* classes;
    const char* expected;
  };
  const Case cases[] = {
      {"{id: 0x#001000, name: Mc#Orphan, base: Nowhere}", "unknown base class 'Nowhere'"},
      {"{id: 0x#001000, name: Mc#Float, properties: [{id: 0x#001001, name: F, type: float}]}",
       "property 0x#001001: Unknown property type 'float'"},
      {"{id: 0x#001000, name: Mc#Stray, properties: [{id: 0x#002001, name: S, type: u8}]}",
       "property 0x#002001: not a property id of its class"},
      {"{id: 0x#001000, name: Port}", "(Port) is described twice"},
      {"{id: 0x#001000, name: Mc#Big, properties: [{id: 0x#001001, name: B, type: u8, default: 300}]}",
       "default: '300' is not an unsigned 8-bit number"},
      {"{id: 0x#000100, name: Mc#Odd}", "not a class id of block 0x#000000"},
  };
  unsigned block = 0x71;
  for (const Case& c : cases) {
    char prefix[16];
    std::snprintf(prefix, sizeof prefix, "%02x", block);
    auto fill = [&](std::string text) {
      for (std::size_t at = text.find('#'); at != std::string::npos; at = text.find('#')) text.replace(at, 1, prefix);
      return text;
    };
    manager.AddDataModelDescription(fill("idBlock: 0x#000000\nclasses:\n  - ") + fill(c.classes), "bad.yaml");
    manager.ActivateDataModel(block << 24);

    const std::vector<std::string> errors = manager.TakeDataModelErrors();
    ASSERT_EQ(errors.size(), 1u) << fill(c.classes);
    EXPECT_THAT(errors[0], AllOf(HasSubstr("bad.yaml"), HasSubstr(fill(c.expected))));
    EXPECT_TRUE(manager.GetClassesOfBlock(block << 24).empty()) << "a faulty description loads nothing";
    ++block;
  }

  manager.AddDataModelDescription("classes: []", "noBlock.yaml");
  manager.AddDataModelDescription("idBlock: [", "broken.yaml");
  const std::vector<std::string> errors = manager.TakeDataModelErrors();
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0], "Data model noBlock.yaml: idBlock: missing id");
  EXPECT_THAT(errors[1], HasSubstr("broken.yaml"));
  EXPECT_TRUE(manager.TakeDataModelErrors().empty());
}

}  // namespace
}  // namespace kel::framework
