#include <WF/IImporterFactory.h>
#include <WF/IMediaModule.h>
#include <WF/ReferenceImporterFactory.h>

#include <kilncore/classref/ClassFactory.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/QueryMapEntries.h>

#include <gtest/gtest.h>

#include <memory>
#include <string_view>

namespace WF {
namespace {

using kilncore::WideString;
using kilncore::classref::ClassFactory;
using kilncore::classref::InterfaceRef;

class StubModule : public IMediaModule {
 public:
  WideString GetModuleName() override { return u"Stub"; }
  WideString GetModuleDisplayName() override { return u"Stub"; }
  void GetImportableFileTypes(std::vector<ImportableFileType>&) override {}
  void ModuleNoOp() override {}
  int GetModuleRevision() override { return 1; }
  bool MatchesModuleRevision(uint32_t value) override { return value == 1; }
  uint32_t GetModuleCode() override { return 0x53545542u; }
  bool ModuleQueryA() override { return false; }
  bool ModuleQueryB() override { return false; }
  bool ModuleQueryC() override { return false; }
  bool ModuleQueryD() override { return false; }
  void CancelImport(const WideString&, const RL::BinaryData&) override {}

 protected:
  void* QueryMap(const std::string_view& name) override {
    return kilncore::classref::AnswerQuery<StubModule, IMediaModule>(this, name);
  }
};

class ReferenceImporterFactoryTest : public ::testing::Test {
 protected:
  void TearDown() override { ClassFactory::UnregisterClass(kImporterFactoryClassID); }
};

TEST_F(ReferenceImporterFactoryTest, ClassIdentifierHasItsPublishedValue) {
  EXPECT_EQ(kImporterFactoryClassID,
            kilncore::utility::Guid("ABBB22E3-1D4D-4c87-8BFF-3162577F0528"));
}

TEST_F(ReferenceImporterFactoryTest, RegisteredFactoryIsTheOneEveryInstanceRequestGets) {
  const InterfaceRef<IImporterFactory> factory = RegisterReferenceImporterFactory();
  ASSERT_TRUE(factory);
  EXPECT_TRUE(ClassFactory::IsClassRegistered(kImporterFactoryClassID));
  EXPECT_EQ(ClassFactory::GetClassIDName(kImporterFactoryClassID), "kImporterFactoryClassID");

  const InterfaceRef<IImporterFactory> first(
      kilncore::classref::CreateClassInstanceRef(kImporterFactoryClassID));
  const InterfaceRef<IImporterFactory> second(
      kilncore::classref::CreateClassInstanceRef(kImporterFactoryClassID));
  ASSERT_TRUE(first);
  EXPECT_EQ(first, factory);
  EXPECT_EQ(second, factory);
  EXPECT_EQ(first.Get(), factory.Get());
}

TEST_F(ReferenceImporterFactoryTest, KeepsEveryAddedModuleInOrder) {
  const InterfaceRef<IImporterFactory> factory = RegisterReferenceImporterFactory();
  const InterfaceRef<IMediaModule> a(std::make_shared<StubModule>());
  const InterfaceRef<IMediaModule> b(std::make_shared<StubModule>());

  factory->AddMediaModule(a);
  factory->AddMediaModule(b);
  factory->AddMediaModule(a);
  factory->AddMediaModule(nullptr);

  const auto modules = factory->GetMediaModules();
  ASSERT_EQ(modules.size(), 3u);
  EXPECT_EQ(modules[0], a);
  EXPECT_EQ(modules[1], b);
  EXPECT_EQ(modules[2], a);
}

TEST_F(ReferenceImporterFactoryTest, RegisteringAgainStartsFromAnEmptyFactory) {
  const InterfaceRef<IImporterFactory> old = RegisterReferenceImporterFactory();
  old->AddMediaModule(InterfaceRef<IMediaModule>(std::make_shared<StubModule>()));

  const InterfaceRef<IImporterFactory> fresh = RegisterReferenceImporterFactory();

  EXPECT_NE(fresh, old);
  EXPECT_TRUE(fresh->GetMediaModules().empty());
  EXPECT_EQ(InterfaceRef<IImporterFactory>(
                kilncore::classref::CreateClassInstanceRef(kImporterFactoryClassID)),
            fresh);
}

TEST_F(ReferenceImporterFactoryTest, FactoryAnswersOnlyForItsInterface) {
  const InterfaceRef<IImporterFactory> factory = RegisterReferenceImporterFactory();
  EXPECT_NE(factory.GetOwner()->QueryInterface("WF::IImporterFactory"), nullptr);
  EXPECT_NE(factory.GetOwner()->QueryInterface("WF::ReferenceImporterFactory"), nullptr);
  EXPECT_EQ(factory.GetOwner()->QueryInterface("WF::IMediaModule"), nullptr);
  EXPECT_FALSE(InterfaceRef<IMediaModule>(factory));
}

}  // namespace
}  // namespace WF
