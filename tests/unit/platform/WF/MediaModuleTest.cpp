#include <WF/IMediaModule.h>
#include <WF/ImportableFileType.h>

#include <RL/BinaryData.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/QueryMapEntries.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string_view>

namespace WF {
namespace {

using kilncore::WideString;
using kilncore::classref::InterfaceRef;

constexpr int32_t kUnsupported = static_cast<int32_t>(0xA00F000Cu);

// The least a module must provide; everything else is inherited.
class MinimalModule : public IMediaModule {
 public:
  explicit MinimalModule(uint32_t code = 0x41424344u) : mCode(code) {}

  WideString GetModuleName() override { return u"Minimal"; }
  WideString GetModuleDisplayName() override { return u"Minimal"; }
  void GetImportableFileTypes(std::vector<ImportableFileType>&) override {}
  void ModuleNoOp() override {}
  int GetModuleRevision() override { return 4; }
  bool MatchesModuleRevision(uint32_t value) override { return value == 4; }
  uint32_t GetModuleCode() override { return mCode; }
  bool ModuleQueryA() override { return false; }
  bool ModuleQueryB() override { return false; }
  bool ModuleQueryC() override { return false; }
  bool ModuleQueryD() override { return false; }
  void CancelImport(const WideString&, const RL::BinaryData&) override {}

 protected:
  void* QueryMap(const std::string_view& name) override {
    return kilncore::classref::AnswerQuery<MinimalModule, IMediaModule>(this, name);
  }

 private:
  uint32_t mCode;
};

// What ImportFile received, to see that the forwarding operations pass
// everything through unchanged.
struct ImportCall {
  InterfaceRef<KL::IMediaInfo>* result = nullptr;
  const WideString* path = nullptr;
  uint32_t fileType = 0;
  uint32_t importFlags = 0;
  RL::BinaryData* prefs = nullptr;
  bool* prefsChanged = nullptr;
  bool hasPrefs = false;
  bool allowUserInterface = false;
  const WideString* projectPath = nullptr;
  int32_t streamIndex = 0;
  void* parentWindow = nullptr;
  uint64_t importContext = 0;
  void* reserved = nullptr;
  int calls = 0;
};

class RecordingModule : public MinimalModule {
 public:
  int ImportFile(InterfaceRef<KL::IMediaInfo>& result, const WideString& path, uint32_t fileType,
                 uint32_t importFlags, RL::BinaryData& prefs, bool& prefsChanged, bool hasPrefs,
                 bool allowUserInterface, const WideString& projectPath, int32_t streamIndex,
                 void* parentWindow, uint64_t importContext, void* reserved) override {
    mCall = {&result,      &path,          fileType,     importFlags,  &prefs,
             &prefsChanged, hasPrefs,      allowUserInterface, &projectPath, streamIndex,
             parentWindow, importContext, reserved,     mCall.calls + 1};
    return 42;
  }
  const ImportCall& LastCall() const { return mCall; }

 private:
  ImportCall mCall;
};

class ForwardingTest : public ::testing::Test {
 protected:
  void ExpectForwarded(const ImportCall& call) {
    EXPECT_EQ(call.calls, 1);
    EXPECT_EQ(call.result, &mResult);
    EXPECT_EQ(call.path, &mPath);
    EXPECT_EQ(call.fileType, 0x4D41524Cu);
    EXPECT_EQ(call.importFlags, 9u);
    EXPECT_EQ(call.prefs, &mPrefs);
    EXPECT_EQ(call.prefsChanged, &mPrefsChanged);
    EXPECT_TRUE(call.hasPrefs);
    EXPECT_FALSE(call.allowUserInterface);
    EXPECT_EQ(call.projectPath, &mProjectPath);
    EXPECT_EQ(call.streamIndex, -3);
    EXPECT_EQ(call.parentWindow, &mWindow);
    EXPECT_EQ(call.importContext, 77u);
    EXPECT_EQ(call.reserved, &mReserved);
  }

  std::shared_ptr<RecordingModule> mModule = std::make_shared<RecordingModule>();
  InterfaceRef<KL::IMediaInfo> mResult;
  WideString mPath = u"/a/b.marl";
  RL::BinaryData mPrefs = RL::BinaryData::FromString("prefs");
  bool mPrefsChanged = false;
  WideString mProjectPath = u"/project.tmln";
  int mWindow = 0;
  int mReserved = 0;
};

TEST_F(ForwardingTest, ImportFileForwarderPassesEveryArgumentToImportFile) {
  IMediaModule& module = *mModule;
  EXPECT_EQ(module.ImportFileForwarder(mResult, mPath, 0x4D41524Cu, 9, mPrefs, mPrefsChanged,
                                       true, false, mProjectPath, -3, &mWindow, 77, &mReserved),
            42);
  ExpectForwarded(mModule->LastCall());
}

TEST_F(ForwardingTest, ImportFileWithContextDropsOnlyTheContext) {
  IMediaModule& module = *mModule;
  int context = 0;
  EXPECT_EQ(module.ImportFileWithContext(&context, mResult, mPath, 0x4D41524Cu, 9, mPrefs,
                                         mPrefsChanged, true, false, mProjectPath, -3, &mWindow,
                                         77, &mReserved),
            42);
  ExpectForwarded(mModule->LastCall());
}

TEST(MediaModuleDefaultsTest, InheritedOperationsGiveTheHostsDefaults) {
  auto module = std::make_shared<MinimalModule>();
  InterfaceRef<KL::IMediaInfo> result;
  RL::BinaryData prefs;
  bool prefsChanged = false;
  EXPECT_EQ(module->GetModuleOptions(), 0);
  EXPECT_EQ(module->ImportFile(result, u"/a", 0, 0, prefs, prefsChanged, false, true, u"", 0,
                               nullptr, 0, nullptr),
            kUnsupported);
  EXPECT_EQ(module->ImportFileForwarder(result, u"/a", 0, 0, prefs, prefsChanged, false, true,
                                        u"", 0, nullptr, 0, nullptr),
            kUnsupported);
  EXPECT_EQ(module->ImportUnsupported(), kUnsupported);
  EXPECT_EQ(module->EchoMediaName(12, u"Name"), u"Name");
  EXPECT_TRUE(result.IsNull());
}

TEST(MediaModuleDefaultsTest, RecognisesItsCodeInEitherByteOrder) {
  auto module = std::make_shared<MinimalModule>(0x41424344u);  // "ABCD"
  EXPECT_TRUE(module->RecognizesImporterKey(u"1094861636"));   // 0x41424344
  EXPECT_TRUE(module->RecognizesImporterKey(u"1145258561"));   // 0x44434241
  EXPECT_FALSE(module->RecognizesImporterKey(u"1094861637"));
  EXPECT_FALSE(module->RecognizesImporterKey(u"0"));
  EXPECT_FALSE(module->RecognizesImporterKey(u""));
  EXPECT_FALSE(module->RecognizesImporterKey(u"ABCD"));
}

TEST(MediaModuleDefaultsTest, ModuleWhoseCodeIsZeroRecognisesNoKey) {
  auto module = std::make_shared<MinimalModule>(0);
  EXPECT_FALSE(module->RecognizesImporterKey(u"0"));
}

TEST(ImporterKeyNumberTest, ReadsLikeAWideInputStream) {
  EXPECT_EQ(ReadImporterKeyNumber(u"1414809677"), 1414809677u);
  EXPECT_EQ(ReadImporterKeyNumber(u"  42"), 42u);       // leading blanks skipped
  EXPECT_EQ(ReadImporterKeyNumber(u"42abc"), 42u);      // reading stops at the letter
  EXPECT_EQ(ReadImporterKeyNumber(u"4294967295"), 0xFFFFFFFFu);
  EXPECT_EQ(ReadImporterKeyNumber(u"4294967296"), 0u);  // out of range fails
  EXPECT_EQ(ReadImporterKeyNumber(u"abc"), 0u);
  EXPECT_EQ(ReadImporterKeyNumber(u""), 0u);
  EXPECT_EQ(ReadImporterKeyNumber(u"\u0661\u0662"), 0u);  // only ASCII digits count
}

TEST(ImporterKeyNumberTest, ByteSwapReversesTheFourBytes) {
  EXPECT_EQ(ByteSwapModuleCode(0x5454484Du), 0x4D485454u);
  EXPECT_EQ(ByteSwapModuleCode(0x01020304u), 0x04030201u);
  EXPECT_EQ(ByteSwapModuleCode(ByteSwapModuleCode(0xDEADBEEFu)), 0xDEADBEEFu);
}

TEST(ImportableFileTypeTest, StartsEmptyAndComparesByValue) {
  ImportableFileType type;
  EXPECT_EQ(type.fileType, 0u);
  EXPECT_TRUE(type.description.empty());
  EXPECT_TRUE(type.extensions.empty());
  EXPECT_EQ(type.flags, 0u);
  EXPECT_TRUE(type.subTypes.empty());

  ImportableFileType other = type;
  other.subTypes.push_back({0x53554231u, u"Sub"});
  EXPECT_NE(type, other);
  type.subTypes.push_back({0x53554231u, u"Sub"});
  EXPECT_EQ(type, other);
}

}  // namespace
}  // namespace WF
