#include "MediaInfoTestSupport.h"

#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/MediaTether.h>
#include <TetherMedia/Prefs.h>

#include <KL/IMedia.h>
#include <WF/ImportableFileTypeUtils.h>

#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/utility/Seam.h>
#include <tether/MarlRenderOptions.h>

#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <memory>

namespace TetherMedia::testing {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;

const Guid kSourceID("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");
const kilncore::WideString kMarlPath = u"/Volumes/Show/Opening.marlp";
const kilncore::WideString kSprocketPath = u"/Volumes/Show/Scene.spkscene";
// Sprocket's other flavour, which the Sprocket project test leaves to its own row.
const kilncore::WideString kSprocketSourcePath = u"/Volumes/Show/Shot.spkproj";
const kilncore::WideString kOtherPath = u"/Volumes/Show/Edit.tlmproj";

// An item with a 1920 x 1080 source, as it is when its blob is made.
struct OpenedItem {
  std::shared_ptr<TestMediaInfo> item = std::make_shared<TestMediaInfo>();
  std::shared_ptr<FakeSource> source = std::make_shared<FakeSource>();
  InterfaceRef<BaseMediaInfo> ref;

  explicit OpenedItem(const kilncore::WideString& path, uint32_t width = 1920, uint32_t height = 1080) {
    source->info.width = width;
    source->info.height = height;
    item->SetIdentity(path, kSourceID);
    item->SetSource(source);
    ref = InterfaceRef<BaseMediaInfo>(item);
  }
};

kilncore::WideString MarlOptions(bool patch, uint32_t downX, uint32_t downY) {
  tether::MarlRenderOptions options;
  options.needsToPatchSourceForDownsample = patch;
  options.downSampleX = downX;
  options.downSampleY = downY;
  return options.AsString();
}

TEST(MediaOpaqueDataTest, MarlProjectWithoutOptionsGivesTheIdentifierAlone) {
  OpenedItem opened(kMarlPath);
  RL::BinaryData out;
  TestMediaInfo::MakeMediaOpaqueData(opened.ref, u"", kMarlPath, out);
  EXPECT_EQ(out.GetSize(), 72u);
  EXPECT_EQ(out, SourceIDToPrefs(kSourceID));
  EXPECT_EQ(opened.source->initCalls, 0);
}

TEST(MediaOpaqueDataTest, SprocketOptionsAreKeptUnchanged) {
  OpenedItem opened(kSprocketPath);
  const kilncore::WideString options = u"not JSON at all { \u00e9";
  RL::BinaryData out;
  TestMediaInfo::MakeMediaOpaqueData(opened.ref, options, kSprocketPath, out);
  EXPECT_EQ(out.GetSize(), 72u + options.size() * 2);
  EXPECT_EQ(PrefsToSourceID(out), kSourceID);
  EXPECT_EQ(PrefsToApplicationSpecificRenderOptions(out), options);
}

TEST(MediaOpaqueDataTest, OptionsOfASprocketSourceTypeProjectAreDroppedLikeAnyOtherTypes) {
  // Only what the Sprocket project test claims keeps its options; the
  // source-type project is opened with them but its blob keeps the item alone.
  OpenedItem opened(kSprocketSourcePath);
  RL::BinaryData out;
  TestMediaInfo::MakeMediaOpaqueData(opened.ref, u"{\"background\":[1,0,0]}", kSprocketSourcePath, out);
  EXPECT_EQ(out, SourceIDToPrefs(kSourceID));
}

TEST(MediaOpaqueDataTest, OptionsOfAnyOtherProjectTypeAreDropped) {
  OpenedItem opened(kOtherPath);
  RL::BinaryData out;
  TestMediaInfo::MakeMediaOpaqueData(opened.ref, MarlOptions(true, 2, 2), kOtherPath, out);
  EXPECT_EQ(out.GetSize(), 72u);
  EXPECT_EQ(out, SourceIDToPrefs(kSourceID));
  EXPECT_EQ(opened.source->initCalls, 0);
}

TEST(MediaOpaqueDataTest, PathThatPassesTheMarlAndTheSprocketTestIsTakenForMarl) {
  const kilncore::WideString path = u"/Volumes/Show/Both.marlp";
  kilncore::utility::ScopedSeam sprocket(WF::ImportableFileTypeUtils::IsSprocketProjectSeam(),
                                         [](kilncore::WideStringView) { return true; });
  kilncore::utility::ScopedSeam marl(WF::ImportableFileTypeUtils::IsMarlProjectSeam());
  OpenedItem opened(path);
  RL::BinaryData out;
  TestMediaInfo::MakeMediaOpaqueData(opened.ref, u"{\"applicationID\":\"Marl\",\"version\":0}", path, out);
  // Normalised as Marl's, not kept as Sprocket's text.
  EXPECT_EQ(PrefsToApplicationSpecificRenderOptions(out), tether::MarlRenderOptions().AsString());
  EXPECT_FALSE(marl.Calls().empty());
  // Marl's test decided: the Sprocket test, which would also say yes, was never asked.
  EXPECT_TRUE(sprocket.Calls().empty());
}

TEST(MediaOpaqueDataTest, SprocketTestDecidesOnlyWhenTheMarlTestSaysNo) {
  const kilncore::WideString path = u"/Volumes/Show/Both.marlp";
  kilncore::utility::ScopedSeam marl(WF::ImportableFileTypeUtils::IsMarlProjectSeam(),
                                     [](kilncore::WideStringView, bool) { return false; });
  kilncore::utility::ScopedSeam sprocket(WF::ImportableFileTypeUtils::IsSprocketProjectSeam(),
                                         [](kilncore::WideStringView) { return true; });
  OpenedItem opened(path);
  const kilncore::WideString options = u"{\"applicationID\":\"Marl\",\"version\":0}";
  RL::BinaryData out;
  TestMediaInfo::MakeMediaOpaqueData(opened.ref, options, path, out);
  EXPECT_EQ(PrefsToApplicationSpecificRenderOptions(out), options);
  ASSERT_EQ(sprocket.Calls().size(), 1u);
  EXPECT_EQ(std::get<0>(sprocket.Calls()[0]), path);
  EXPECT_FALSE(opened.item->HasSetup());
}

TEST(MediaOpaqueDataTest, MarlOptionsAreNormalised) {
  OpenedItem opened(kMarlPath);
  RL::BinaryData out;
  // An old version reads nothing of the other keys: what is written back is
  // every key at its default and the current version.
  TestMediaInfo::MakeMediaOpaqueData(opened.ref, u"{ \"version\": 0, \"downSampleX\": 4 }", kMarlPath,
                                     out);
  EXPECT_EQ(PrefsToApplicationSpecificRenderOptions(out), tether::MarlRenderOptions().AsString());
  EXPECT_EQ(PrefsToSourceID(out), kSourceID);
}

TEST(MediaOpaqueDataTest, MalformedMarlOptionsThrow) {
  OpenedItem opened(kMarlPath);
  RL::BinaryData out;
  EXPECT_ANY_THROW(TestMediaInfo::MakeMediaOpaqueData(opened.ref, u"{ not json", kMarlPath, out));
}

TEST(MediaOpaqueDataTest, DownSampledMarlItemPatchesTheSourceSize) {
  OpenedItem opened(kMarlPath);
  opened.source->info.name = u"Opening";
  const kilncore::WideString options = MarlOptions(true, 2, 2);
  RL::BinaryData out;
  TestMediaInfo::MakeMediaOpaqueData(opened.ref, options, kMarlPath, out);
  EXPECT_EQ(opened.source->initCalls, 1);
  EXPECT_FALSE(opened.source->initGotCallback);  // no new identifier is wanted
  EXPECT_EQ(opened.source->info.width, 960u);
  EXPECT_EQ(opened.source->info.height, 540u);
  EXPECT_EQ(opened.source->info.name, u"Opening");  // the rest of the description stays
  // The blob keeps the divisors for the server.
  tether::MarlRenderOptions kept;
  ApplicationSpecificRenderOptionsToMarlRenderOptions(PrefsToApplicationSpecificRenderOptions(out), kept);
  EXPECT_EQ(kept.downSampleX, 2u);
  EXPECT_EQ(kept.downSampleY, 2u);
  EXPECT_TRUE(kept.needsToPatchSourceForDownsample);
}

TEST(MediaOpaqueDataTest, OddWidthIsTruncated) {
  OpenedItem opened(kMarlPath, 1921, 1081);
  RL::BinaryData out;
  TestMediaInfo::MakeMediaOpaqueData(opened.ref, MarlOptions(true, 2, 3), kMarlPath, out);
  EXPECT_EQ(opened.source->info.width, 960u);
  EXPECT_EQ(opened.source->info.height, 360u);
}

TEST(MediaOpaqueDataTest, SourceIsNotPatchedWithoutTheFlagOrWithUnitDivisors) {
  for (const auto& options : {MarlOptions(false, 2, 2), MarlOptions(true, 1, 1)}) {
    OpenedItem opened(kMarlPath);
    RL::BinaryData out;
    TestMediaInfo::MakeMediaOpaqueData(opened.ref, options, kMarlPath, out);
    EXPECT_EQ(opened.source->initCalls, 0);
    EXPECT_EQ(opened.source->info.width, 1920u);
  }
}

TEST(MediaOpaqueDataTest, OneDivisorOtherThanOneIsEnough) {
  OpenedItem opened(kMarlPath);
  RL::BinaryData out;
  TestMediaInfo::MakeMediaOpaqueData(opened.ref, MarlOptions(true, 1, 2), kMarlPath, out);
  EXPECT_EQ(opened.source->initCalls, 1);
  EXPECT_EQ(opened.source->info.width, 1920u);
  EXPECT_EQ(opened.source->info.height, 540u);
}

TEST(MediaOpaqueDataTest, NullItemThrows) {
  InterfaceRef<BaseMediaInfo> none;
  RL::BinaryData out;
  EXPECT_THROW(TestMediaInfo::MakeMediaOpaqueData(none, u"", kMarlPath, out),
               kilncore::config::NullPtrException);
}

TEST(MediaOpaqueDataTest, HasSetupOnlyForMarlProjects) {
  OpenedItem marl(kMarlPath);
  EXPECT_TRUE(marl.item->HasSetup());
  OpenedItem sprocket(kSprocketPath);
  RL::BinaryData out;
  TestMediaInfo::MakeMediaOpaqueData(sprocket.ref, u"{\"a\":1}", kSprocketPath, out);
  EXPECT_FALSE(sprocket.item->HasSetup());
  OpenedItem graphic(u"/Volumes/Show/Title.MARLGRAPHIC");
  EXPECT_TRUE(graphic.item->HasSetup());
}

TEST(MediaStateTest, ModificationStateWithoutStreamObjectIsTheNilGuidsBytes) {
  TestMediaInfo item;
  RL::BinaryData out = RL::BinaryData::FromString("previous");
  item.GetModificationState(out);
  ASSERT_EQ(out.GetSize(), 16u);
  for (size_t i = 0; i < 16; ++i) EXPECT_EQ(out.GetData()[i], 0u);
}

TEST(MediaStateTest, ModificationStateIsTheRawBytesOfTheContentState) {
  TestMediaInfo item;
  auto video = std::make_shared<FakeVideoSource>();
  video->contentState = Guid("01020304-0506-0708-090A-0B0C0D0E0F10");
  item.SetVideoSource(InterfaceRef<KL::IVideoSource>(video));
  RL::BinaryData out;
  item.GetModificationState(out);
  ASSERT_EQ(out.GetSize(), 16u);
  EXPECT_EQ(std::memcmp(out.GetData(), &video->contentState, 16), 0);
  // Machine order, not the text order of GuidToBytes (on a little-endian
  // machine the first field is reversed).
  uint8_t textOrder[16];
  Guid::GuidToBytes(video->contentState, textOrder);
  if (std::endian::native == std::endian::little) {
    EXPECT_NE(std::memcmp(out.GetData(), textOrder, 16), 0);
    EXPECT_EQ(out.GetData()[0], 0x04);
  }
}

TEST(MediaStateTest, HashInfoIsTheModificationStateAndLeavesReplacedDataAlone) {
  TestMediaInfo item;
  auto video = std::make_shared<FakeVideoSource>();
  video->contentState = Guid("01020304-0506-0708-090A-0B0C0D0E0F10");
  item.SetVideoSource(InterfaceRef<KL::IVideoSource>(video));
  RL::BinaryData state;
  item.GetModificationState(state);
  RL::BinaryData hash;
  item.GetHashInfo(hash);
  EXPECT_EQ(hash, state);

  RL::BinaryData untouched = RL::BinaryData::FromString("as given");
  item.GetHashInfo(KL::ReplacedMediaInfoData{u"/old.marlp", Guid()}, untouched);
  EXPECT_EQ(untouched, RL::BinaryData::FromString("as given"));
}

TEST(MediaStateTest, MetadataStateIsTheContentStateWhateverTheKey) {
  TestMediaInfo item;
  auto video = std::make_shared<FakeVideoSource>();
  video->contentState = Guid("01020304-0506-0708-090A-0B0C0D0E0F10");
  item.SetVideoSource(InterfaceRef<KL::IVideoSource>(video));
  Guid out;
  EXPECT_EQ(item.GetMetadataState(out, "xmp"), 0);
  EXPECT_EQ(out, video->contentState);
  Guid other;
  EXPECT_EQ(item.GetMetadataState(other, ""), 0);
  EXPECT_EQ(other, video->contentState);
}

TEST(MediaStateTest, InjectMetadataIsNeverOffered) {
  TestMediaInfo item;
  EXPECT_EQ(item.InjectMetadata(nullptr), kNotOffered);
  class ClipLoggingInfo : public KL::IClipLoggingInfo {};
  auto info = std::make_shared<ClipLoggingInfo>();
  std::weak_ptr<ClipLoggingInfo> watch = info;
  EXPECT_EQ(item.InjectMetadata(InterfaceRef<KL::IClipLoggingInfo>(std::move(info))), kNotOffered);
  EXPECT_TRUE(watch.expired());  // the reference was released
}

TEST(DependenceTest, SourceLinkAnswersWithoutAskingForNestedLinks) {
  TestMediaInfo item;
  const Guid linked("AAAAAAAA-0000-0000-0000-000000000001");
  item.linkedSources[linked] = true;
  EXPECT_TRUE(item.ContainsDependance(linked));
  EXPECT_EQ(item.hasNestedLinkCalls, 0);
  EXPECT_FALSE(item.ContainsDependance(Guid("AAAAAAAA-0000-0000-0000-000000000002")));
  EXPECT_EQ(item.hasNestedLinkCalls, 1);
}

TEST(DependenceTest, NestedLinkMeansDependenceOnEverything) {
  TestMediaInfo item;
  item.nestedLink = true;
  EXPECT_TRUE(item.ContainsDependance(Guid()));
  EXPECT_TRUE(item.ContainsDependance(Guid("AAAAAAAA-0000-0000-0000-000000000002")));
}

TEST(DependenceTest, BothInterfacesShareOneAnswer) {
  TestMediaInfo item;
  item.nestedLink = true;
  const KL::ICircularDependencyOwner& owner = item;
  const ITetherMediaInfo& tether = item;
  EXPECT_TRUE(owner.ContainsDependance(Guid()));
  EXPECT_TRUE(tether.ContainsDependance(Guid()));
}

TEST(DependenceTest, ProjectItemDependenceAsksIfTheItemIsLinked) {
  TestMediaInfo item;
  EXPECT_FALSE(item.ContainsDependence(nullptr));
  item.projectItemLinked = true;
  EXPECT_TRUE(item.ContainsDependence(nullptr));
}

// A host media object around some media item.
class FakeMedia : public KL::IMedia {
 public:
  Guid implementationID;
  InterfaceRef<KL::IMediaInfo> info;
  Guid GetImplementationID() const override { return implementationID; }
  InterfaceRef<KL::IMediaInfo> GetMediaInfo() const override { return info; }
};

class LinkedTestMediaInfo : public TestMediaInfo {
 public:
  bool IsLinkedMedia() const override { return true; }
};

TEST(IsMediaTetherTest, OurImplementationIdentifierIsEnough) {
  auto media = std::make_shared<FakeMedia>();
  media->implementationID = GetTetherImplementationID();
  EXPECT_TRUE(IsMediaTether(InterfaceRef<KL::IMedia>(media)));
}

TEST(IsMediaTetherTest, LinkedMediaInfoCountsEvenWithAnotherIdentifier) {
  auto media = std::make_shared<FakeMedia>();
  media->implementationID = Guid("99999999-8888-7777-6666-555555555555");
  media->info = InterfaceRef<KL::IMediaInfo>(std::make_shared<LinkedTestMediaInfo>());
  EXPECT_TRUE(IsMediaTether(InterfaceRef<KL::IMedia>(media)));
}

TEST(IsMediaTetherTest, MediaWithoutInfoIsNotOurs) {
  auto media = std::make_shared<FakeMedia>();
  media->implementationID = Guid("99999999-8888-7777-6666-555555555555");
  EXPECT_FALSE(IsMediaTether(InterfaceRef<KL::IMedia>(media)));
}

TEST(IsMediaTetherTest, InfoThatIsNotLinkedMediaIsNotOurs) {
  auto media = std::make_shared<FakeMedia>();
  media->implementationID = Guid("99999999-8888-7777-6666-555555555555");
  media->info = InterfaceRef<KL::IMediaInfo>(std::make_shared<TestMediaInfo>());
  EXPECT_FALSE(IsMediaTether(InterfaceRef<KL::IMedia>(media)));
}

TEST(IsMediaTetherTest, NullMediaThrows) {
  EXPECT_THROW(IsMediaTether(InterfaceRef<KL::IMedia>()), kilncore::config::NullPtrException);
}

}  // namespace
}  // namespace TetherMedia::testing
