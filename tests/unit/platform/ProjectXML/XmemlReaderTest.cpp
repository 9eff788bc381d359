#include <ProjectXML/ProjectXMLError.h>
#include <ProjectXML/XmemlReader.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace ProjectXML {
namespace {

using kilncore::utility::Guid;

// A sequence named `name` around `media` (the children of <media>), with
// `extra` children of the sequence before it.
std::string SequenceXML(const std::string& media, const std::string& extra = "", const std::string& name = "S") {
  return "<sequence><name>" + name + "</name>" + extra + "<media>" + media + "</media></sequence>";
}

std::string Xmeml(const std::string& body) { return "<?xml version='1.0'?>\n<xmeml version='5'>" + body + "</xmeml>"; }

// One video track of `items`.
std::string VideoTrack(const std::string& items) { return "<video><track>" + items + "</track></video>"; }

std::string ClipItem(const std::string& inside) { return "<clipitem>" + inside + "</clipitem>"; }

std::string Edges(const std::string& start, const std::string& end, const std::string& in, const std::string& out) {
  return "<start>" + start + "</start><end>" + end + "</end><in>" + in + "</in><out>" + out + "</out>";
}

ProjectDocument Read(const std::string& text, std::vector<std::string>* notes = nullptr) {
  return XmemlReader::Read(text, "/exports/cut.xml", [notes](const std::string& note) {
    if (notes) notes->push_back(note);
  });
}

const Sequence& FirstSequence(const ProjectDocument& document) {
  const Item* item = &document.items.at(0);
  while (item->kind == Item::Kind::kBin) item = &item->children.at(0);
  return item->sequence.value();
}

// The error text of reading `text`, or "" if it reads.
std::string ErrorOf(const std::string& text) {
  try {
    Read(text);
  } catch (const ProjectXMLError& error) {
    return error.what();
  }
  return "";
}

TEST(XmemlReaderTest, ProjectAndBinWrappersHoldSeveralSequencesInFileOrder) {
  const ProjectDocument document = Read(Xmeml(
      "<project><name>P</name><children>"
      "<bin><name>Cuts</name><children>" +
      SequenceXML("", "", "One") + "<bin><name>Inner</name><children>" + SequenceXML("", "", "Two") +
      "</children></bin></children></bin>" + SequenceXML("", "", "Three") + "</children></project>"));
  ASSERT_EQ(document.items.size(), 1u);
  const Item& project = document.items[0];
  EXPECT_EQ(project.kind, Item::Kind::kBin);
  EXPECT_EQ(project.name, "P");
  ASSERT_EQ(project.children.size(), 2u);
  const Item& cuts = project.children[0];
  EXPECT_EQ(cuts.name, "Cuts");
  ASSERT_EQ(cuts.children.size(), 2u);
  EXPECT_EQ(cuts.children[0].name, "One");
  EXPECT_EQ(cuts.children[1].children.at(0).name, "Two");
  EXPECT_EQ(project.children[1].name, "Three");
  EXPECT_EQ(project.children[1].kind, Item::Kind::kSequence);
}

TEST(XmemlReaderTest, NtscRatesAreAThousandOverAThousandAndOneAndDropFrameTimecodeChangesNoTiming) {
  const std::string dropFrame =
      "<timecode><rate><timebase>30</timebase><ntsc>TRUE</ntsc></rate><string>01:00:00;00</string>"
      "<frame>107892</frame><displayformat>DF</displayformat></timecode>";
  const ProjectDocument df = Read(Xmeml(SequenceXML(
      VideoTrack(ClipItem(Edges("0", "30", "0", "30"))), "<rate><timebase>30</timebase><ntsc>TRUE</ntsc></rate>" + dropFrame)));
  EXPECT_EQ(FirstSequence(df).frameRate, (Ratio{30000, 1001}));
  EXPECT_EQ(FirstSequence(df).videoTracks.at(0).clips.at(0).start, 0);
  EXPECT_EQ(FirstSequence(df).DurationFrames(), 30);
  const ProjectDocument film = Read(Xmeml(SequenceXML("", "<rate><timebase>24</timebase><ntsc>true</ntsc></rate>")));
  EXPECT_EQ(FirstSequence(film).frameRate, (Ratio{24000, 1001}));
  const ProjectDocument pal = Read(Xmeml(SequenceXML("", "<rate><timebase>25</timebase><ntsc>FALSE</ntsc></rate>")));
  EXPECT_EQ(FirstSequence(pal).frameRate, (Ratio{25, 1}));
}

TEST(XmemlReaderTest, RateOfThePictureFormatStandsInForAMissingSequenceRate) {
  const ProjectDocument document = Read(Xmeml(SequenceXML(
      "<video><format><samplecharacteristics><rate><timebase>60</timebase><ntsc>TRUE</ntsc></rate>"
      "</samplecharacteristics></format></video>")));
  EXPECT_EQ(FirstSequence(document).frameRate, (Ratio{60000, 1001}));
}

TEST(XmemlReaderTest, SampleCharacteristicsGiveSizePixelAspectFieldsAndAudioRate) {
  const ProjectDocument document = Read(Xmeml(SequenceXML(
      "<video><format><samplecharacteristics><width>720</width><height>576</height>"
      "<pixelaspectratio>PAL-601</pixelaspectratio><fielddominance>upper</fielddominance>"
      "</samplecharacteristics></format></video>"
      "<audio><format><samplecharacteristics><depth>24</depth><samplerate>44100</samplerate>"
      "</samplecharacteristics></format></audio>")));
  const Sequence& sequence = FirstSequence(document);
  EXPECT_EQ(sequence.width, 720);
  EXPECT_EQ(sequence.height, 576);
  EXPECT_EQ(sequence.pixelAspect, (Ratio{59, 54}));
  EXPECT_EQ(sequence.fieldOrder, FieldOrder::kUpperFirst);
  EXPECT_EQ(sequence.audioRate, 44100u);
  const ProjectDocument ntsc = Read(Xmeml(SequenceXML(
      "<video><format><samplecharacteristics><pixelaspectratio>NTSC-601</pixelaspectratio>"
      "<fielddominance>lower</fielddominance></samplecharacteristics></format></video>")));
  EXPECT_EQ(FirstSequence(ntsc).pixelAspect, (Ratio{10, 11}));
  EXPECT_EQ(FirstSequence(ntsc).fieldOrder, FieldOrder::kLowerFirst);
}

TEST(XmemlReaderTest, MissingOptionalElementsTakeTheirDefaults) {
  const ProjectDocument document = Read(Xmeml("<sequence/>"));
  ASSERT_EQ(document.items.size(), 1u);
  EXPECT_EQ(document.items[0].kind, Item::Kind::kSequence);
  EXPECT_FALSE(document.items[0].id.IsNil());
  const Sequence& sequence = FirstSequence(document);
  EXPECT_EQ(sequence.width, 1920);
  EXPECT_EQ(sequence.height, 1080);
  EXPECT_EQ(sequence.frameRate, (Ratio{25, 1}));
  EXPECT_EQ(sequence.pixelAspect, (Ratio{1, 1}));
  EXPECT_EQ(sequence.fieldOrder, FieldOrder::kProgressive);
  EXPECT_EQ(sequence.audioRate, 48000u);
  EXPECT_EQ(sequence.audioChannels, 2u);
  EXPECT_TRUE(sequence.videoTracks.empty());
  EXPECT_EQ(sequence.DurationFrames(), 0);
  // A clip item with no edges at all is one frame where the track stands.
  const ProjectDocument bare = Read(Xmeml(SequenceXML(VideoTrack(ClipItem(Edges("0", "10", "0", "10")) + "<clipitem/>"))));
  const Clip& clip = FirstSequence(bare).videoTracks.at(0).clips.at(1);
  EXPECT_EQ(clip.start, 10);
  EXPECT_EQ(clip.in, 0);
  EXPECT_EQ(clip.out, 1);
  EXPECT_TRUE(clip.enabled);
  EXPECT_TRUE(clip.media.empty());
  // A version attribute that is missing reads as version 1.
  EXPECT_NO_THROW(Read("<xmeml><sequence/></xmeml>"));
}

TEST(XmemlReaderTest, FractionalEdgesAreRoundedToFrames) {
  const ProjectDocument document =
      Read(Xmeml(SequenceXML(VideoTrack(ClipItem(Edges("10.4", "19.5", "2.5", "11.6"))))));
  const Clip& clip = FirstSequence(document).videoTracks.at(0).clips.at(0);
  EXPECT_EQ(clip.start, 10);
  EXPECT_EQ(clip.in, 3);
  // The place on the timeline rules: 20 - 10 frames of media from 3.
  EXPECT_EQ(clip.out, 13);
}

TEST(XmemlReaderTest, MinusOneEdgesAroundATransitionMeetAtItsCut) {
  const std::string transition = "<transitionitem><start>40</start><end>60</end><alignment>center</alignment>"
                                 "<effect><name>Cross Dissolve</name></effect></transitionitem>";
  const ProjectDocument document = Read(Xmeml(SequenceXML(
      VideoTrack(ClipItem(Edges("0", "-1", "100", "150")) + transition + ClipItem(Edges("-1", "100", "10", "60"))))));
  const auto& clips = FirstSequence(document).videoTracks.at(0).clips;
  ASSERT_EQ(clips.size(), 2u);
  EXPECT_EQ(clips[0].start, 0);
  EXPECT_EQ(clips[0].out - clips[0].in, 50);
  EXPECT_EQ(clips[1].start, 50);
  EXPECT_EQ(clips[1].in, 10);
  EXPECT_EQ(clips[1].out, 60);
  // Aligned at its end or start, the cut is there.
  const ProjectDocument atEnd = Read(Xmeml(SequenceXML(VideoTrack(
      ClipItem(Edges("0", "-1", "0", "40")) + "<transitionitem><start>30</start><end>40</end><alignment>end-black</alignment></transitionitem>" +
      ClipItem(Edges("-1", "70", "0", "30"))))));
  EXPECT_EQ(FirstSequence(atEnd).videoTracks.at(0).clips.at(0).out, 40);
  EXPECT_EQ(FirstSequence(atEnd).videoTracks.at(0).clips.at(1).start, 40);
}

TEST(XmemlReaderTest, PercentEncodedPathURLsAreDecoded) {
  EXPECT_EQ(XmemlReader::PathOfURL("file://localhost/Volumes/Media/a%20b.png"), "/Volumes/Media/a b.png");
  EXPECT_EQ(XmemlReader::PathOfURL("file:///Volumes/Caf%C3%A9.png"), "/Volumes/Caf\xC3\xA9.png");
  EXPECT_EQ(XmemlReader::PathOfURL("file:///100%25.png"), "/100%.png");
  // A stray percent sign stays as it is; a text that isn't a URL is a path.
  EXPECT_EQ(XmemlReader::PathOfURL("file:///a%2"), "/a%2");
  EXPECT_EQ(XmemlReader::PathOfURL("shots/a%20b.png"), "shots/a%20b.png");
  const ProjectDocument document = Read(Xmeml(SequenceXML(VideoTrack(ClipItem(
      Edges("0", "10", "0", "10") + "<file id='f1'><name>a b.mov</name><pathurl>file://localhost/m/a%20b.mov</pathurl></file>")))));
  EXPECT_EQ(FirstSequence(document).videoTracks.at(0).clips.at(0).media, "/m/a b.mov");
}

TEST(XmemlReaderTest, FileReferencesReuseTheFileOfTheirIdAcrossClipsTracksAndSequences) {
  const std::string first = ClipItem(Edges("0", "10", "0", "10") +
                                     "<file id='interview'><name>i.wav</name><pathurl>file:///m/i.wav</pathurl></file>");
  const std::string again = ClipItem(Edges("10", "20", "0", "10") + "<file id='interview'/>");
  const ProjectDocument document =
      Read(Xmeml(SequenceXML(VideoTrack(first + again) + "<audio><track>" + again + "</track></audio>") +
                 SequenceXML(VideoTrack(again), "", "Second")));
  const Sequence& sequence = FirstSequence(document);
  EXPECT_EQ(sequence.videoTracks.at(0).clips.at(1).media, "/m/i.wav");
  EXPECT_EQ(sequence.audioTracks.at(0).clips.at(0).media, "/m/i.wav");
  EXPECT_EQ(document.items.at(1).sequence->videoTracks.at(0).clips.at(0).media, "/m/i.wav");
}

TEST(XmemlReaderTest, FileReferenceFindsADefinitionLaterInTheFileOrInsideANestedSequence) {
  // The outer clip comes first and names by id a file that only the nested
  // sequence of a later clip defines; the audio track's comes before the
  // video track's definition in reading order as exports write them.
  const std::string nested = SequenceXML(
      VideoTrack(ClipItem(Edges("0", "10", "0", "10") +
                          "<file id='inner'><name>inner.mov</name><pathurl>file:///m/inner.mov</pathurl></file>")),
      "", "Nested");
  const ProjectDocument document = Read(Xmeml(SequenceXML(
      VideoTrack(ClipItem(Edges("0", "10", "0", "10") + "<file id='inner'/>") +
                 ClipItem(Edges("10", "20", "0", "10") + nested)) +
      "<audio><track>" + ClipItem(Edges("0", "10", "0", "10") + "<file id='inner'/>") + "</track></audio>")));
  const Sequence& sequence = FirstSequence(document);
  EXPECT_EQ(sequence.videoTracks.at(0).clips.at(0).media, "/m/inner.mov");
  EXPECT_EQ(sequence.audioTracks.at(0).clips.at(0).media, "/m/inner.mov");
  // The first definition of an id counts; a clip's own definition is its own.
  const ProjectDocument twice = Read(Xmeml(SequenceXML(VideoTrack(
      ClipItem(Edges("0", "10", "0", "10") + "<file id='f'/>") +
      ClipItem(Edges("10", "20", "0", "10") + "<file id='f'><pathurl>file:///m/first.mov</pathurl></file>") +
      ClipItem(Edges("20", "30", "0", "10") + "<file id='f'><pathurl>file:///m/second.mov</pathurl></file>")))));
  const auto& clips = FirstSequence(twice).videoTracks.at(0).clips;
  EXPECT_EQ(clips.at(0).media, "/m/first.mov");
  EXPECT_EQ(clips.at(2).media, "/m/second.mov");
}

TEST(XmemlReaderTest, FileWithoutAPathURLIsOfflineMedia) {
  const ProjectDocument document = Read(Xmeml(SequenceXML(VideoTrack(
      ClipItem(Edges("0", "10", "0", "10") + "<file id='lost'><name>lost.mov</name></file>") +
      ClipItem(Edges("10", "20", "0", "10") + "<file id='lost'/>")))));
  const auto& clips = FirstSequence(document).videoTracks.at(0).clips;
  EXPECT_TRUE(clips.at(0).media.empty());
  EXPECT_TRUE(clips.at(1).media.empty());
}

TEST(XmemlReaderTest, DisabledClipsAndClipsOfDisabledTracksAreNotEnabled) {
  const ProjectDocument document = Read(Xmeml(SequenceXML(
      "<video><track>" + ClipItem("<enabled>FALSE</enabled>" + Edges("0", "10", "0", "10")) +
      ClipItem("<enabled>TRUE</enabled>" + Edges("10", "20", "0", "10")) + "</track><track><enabled>FALSE</enabled>" +
      ClipItem(Edges("0", "20", "0", "20")) + "</track></video>")));
  const Sequence& sequence = FirstSequence(document);
  EXPECT_FALSE(sequence.videoTracks.at(0).clips.at(0).enabled);
  EXPECT_TRUE(sequence.videoTracks.at(0).clips.at(1).enabled);
  EXPECT_FALSE(sequence.videoTracks.at(1).clips.at(0).enabled);
}

TEST(XmemlReaderTest, StillImagesAreKnownByTheirExtensionInAnyCase) {
  const auto clipOf = [](const std::string& url) {
    return ClipItem(Edges("0", "10", "0", "10") + "<file><name>x</name><pathurl>" + url + "</pathurl></file>");
  };
  const ProjectDocument document = Read(Xmeml(SequenceXML(VideoTrack(
      clipOf("file:///s/a.PNG") + clipOf("file:///s/b.jpeg") + clipOf("file:///s/c.tiff") + clipOf("file:///s/d.mov")))));
  const auto& clips = FirstSequence(document).videoTracks.at(0).clips;
  EXPECT_TRUE(clips.at(0).still);
  EXPECT_TRUE(clips.at(1).still);
  EXPECT_TRUE(clips.at(2).still);
  EXPECT_FALSE(clips.at(3).still);
}

TEST(XmemlReaderTest, NestedSequenceClipIsOfflineAndNoted) {
  std::vector<std::string> notes;
  const ProjectDocument document = Read(
      Xmeml(SequenceXML(VideoTrack(ClipItem(Edges("0", "20", "0", "20") + SequenceXML(VideoTrack(ClipItem(
                                                                                  Edges("0", "20", "0", "20"))),
                                                                              "", "Inner"))))),
      &notes);
  // Only the outer sequence is an item; its clip shows the offline slate.
  ASSERT_EQ(document.items.size(), 1u);
  const Clip& clip = FirstSequence(document).videoTracks.at(0).clips.at(0);
  EXPECT_TRUE(clip.media.empty());
  EXPECT_EQ(clip.out - clip.in, 20);
  EXPECT_EQ(notes, std::vector<std::string>{"skipped <sequence> in /exports/cut.xml"});
}

TEST(XmemlReaderTest, TransitionsFiltersGeneratorsAndUnknownElementsAreSkippedWithOneNoteEach) {
  std::vector<std::string> notes;
  const std::string items =
      ClipItem(Edges("0", "10", "0", "10") + "<filter><effect><name>Blur</name></effect></filter>"
                                             "<filter><effect><name>Colour</name></effect></filter>") +
      "<transitionitem><start>8</start><end>12</end></transitionitem>" +
      "<generatoritem><start>10</start><end>30</end><effect><name>Slug</name></effect></generatoritem>" +
      ClipItem(Edges("-1", "40", "0", "10")) + "<transitionitem><start>38</start><end>42</end></transitionitem>";
  const ProjectDocument document = Read(
      Xmeml(SequenceXML(VideoTrack(items), "<marker><name>Cue</name><in>15</in><out>-1</out></marker><labels/>")), &notes);
  const Sequence& sequence = FirstSequence(document);
  ASSERT_EQ(sequence.videoTracks.at(0).clips.size(), 2u);
  // The generator's place stays a gap: the clip after it starts at its end.
  EXPECT_EQ(sequence.videoTracks.at(0).clips.at(1).start, 30);
  ASSERT_EQ(sequence.markers.size(), 1u);
  EXPECT_EQ(sequence.markers[0].frame, 15);
  EXPECT_EQ(sequence.markers[0].name, "Cue");
  EXPECT_EQ(notes, (std::vector<std::string>{"skipped <filter> in /exports/cut.xml",
                                             "skipped <transitionitem> in /exports/cut.xml",
                                             "skipped <generatoritem> in /exports/cut.xml"}));
}

TEST(XmemlReaderTest, SequencesWithoutUuidGetIdentifiersStableForTheFileAndDistinct) {
  const std::string text = Xmeml(SequenceXML("", "", "A") + SequenceXML("", "", "B"));
  const ProjectDocument once = Read(text);
  const ProjectDocument twice = Read(text);
  EXPECT_EQ(once.items.at(0).id, twice.items.at(0).id);
  EXPECT_NE(once.items.at(0).id, once.items.at(1).id);
  EXPECT_NE(XmemlReader::Read(text, "/elsewhere/cut.xml").items.at(0).id, once.items.at(0).id);
  const ProjectDocument withUuid = Read(Xmeml("<sequence><uuid>2c1b7a0e-3f1d-4b3a-9a57-7f1f0d6c0a11</uuid></sequence>"));
  EXPECT_EQ(withUuid.items.at(0).id, Guid("2C1B7A0E-3F1D-4B3A-9A57-7F1F0D6C0A11"));
}

TEST(XmemlReaderTest, DanglingFileReferenceNamesTheElementAndLine) {
  const std::string text = Xmeml("\n<sequence><media><video><track>\n<clipitem><start>0</start><end>5</end>\n"
                                 "<file id='nowhere'/></clipitem></track></video></media></sequence>");
  EXPECT_EQ(ErrorOf(text),
            "file \"nowhere\" is defined nowhere in the file at /xmeml/sequence/media/video/track/clipitem/file (line 5)");
}

TEST(XmemlReaderTest, AbsurdSizesRatesAndDurationsNameTheElementAndLine) {
  EXPECT_EQ(ErrorOf(Xmeml(SequenceXML("<video><format><samplecharacteristics>\n<width>100000</width>"
                                      "</samplecharacteristics></format></video>"))),
            "<width> is out of range [1, 16384] at /xmeml/sequence/media/video/format/samplecharacteristics/width "
            "(line 3)");
  EXPECT_EQ(ErrorOf(Xmeml(SequenceXML("<video><format><samplecharacteristics><height>0</height>"
                                      "</samplecharacteristics></format></video>"))),
            "<height> is out of range [1, 16384] at /xmeml/sequence/media/video/format/samplecharacteristics/height "
            "(line 2)");
  EXPECT_EQ(ErrorOf(Xmeml(SequenceXML("", "<rate><timebase>50000</timebase></rate>"))),
            "<timebase> is out of range [1, 1000] at /xmeml/sequence/rate/timebase (line 2)");
  EXPECT_EQ(ErrorOf(Xmeml(SequenceXML("<audio><format><samplecharacteristics><samplerate>12</samplerate>"
                                      "</samplecharacteristics></format></audio>"))),
            "<samplerate> is out of range [8000, 384000] at "
            "/xmeml/sequence/media/audio/format/samplecharacteristics/samplerate (line 2)");
  EXPECT_EQ(ErrorOf(Xmeml(SequenceXML(VideoTrack(ClipItem(Edges("0", "1e15", "0", "10")))))),
            "<end> is out of range at /xmeml/sequence/media/video/track/clipitem/end (line 2)");
  EXPECT_EQ(ErrorOf(Xmeml(SequenceXML(VideoTrack(ClipItem(Edges("0", "ten", "0", "10")))))),
            "<end> is not a number at /xmeml/sequence/media/video/track/clipitem/end (line 2)");
  EXPECT_EQ(ErrorOf(Xmeml(SequenceXML(VideoTrack(ClipItem(Edges("0", "nan", "0", "10")))))),
            "<end> is not a number at /xmeml/sequence/media/video/track/clipitem/end (line 2)");
  EXPECT_EQ(ErrorOf(Xmeml(SequenceXML(VideoTrack(ClipItem(Edges("4294967290", "4294967299", "0", "10")))))),
            "<end> is out of range at /xmeml/sequence/media/video/track/clipitem/end (line 2)");
}

TEST(XmemlReaderTest, AMillionClipsAreRefusedQuicklyWithoutReadingThemAll) {
  std::string items;
  items.reserve(11'000'000);
  for (int i = 0; i < 1'000'000; ++i) items += "<clipitem/>";
  const auto started = std::chrono::steady_clock::now();
  const std::string error = ErrorOf(Xmeml(SequenceXML(VideoTrack(items))));
  EXPECT_EQ(error.rfind("too many clips at /xmeml/sequence/media/video/track/clipitem", 0), 0u) << error;
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(20));
}

TEST(XmemlReaderTest, OtherTextsAreRefusedClearly) {
  EXPECT_EQ(ErrorOf("<xmeml version='5'>\n<sequence>"), "not XML: Start-end tags mismatch (line 2)");
  EXPECT_EQ(ErrorOf("<fcpxml version='1.8'/>"), "not a Final Cut Pro XML file: the root element is <fcpxml>");
  EXPECT_EQ(ErrorOf("<xmeml version='6'/>"), "xmeml version 6 is not read at /xmeml (line 1)");
  EXPECT_EQ(ErrorOf(""), "not XML: No document element found (line 1)");
  EXPECT_THROW(XmemlReader::ReadFile("/no/such/export.xml"), ProjectXMLError);
}

TEST(XmemlReaderExamplesTest, ExportShapedSampleReadsAsItsEditorShowsIt) {
  std::vector<std::string> notes;
  const ProjectDocument document =
      XmemlReader::ReadFile(std::string(TETHER_TEST_EXAMPLES_FOLDER) + "/host/export.xml",
                            [&notes](const std::string& note) { notes.push_back(note); });
  ASSERT_EQ(document.items.size(), 2u);
  EXPECT_EQ(document.items[0].name, "Rough cut PAL");
  EXPECT_EQ(document.items[0].id, Guid("2C1B7A0E-3F1D-4B3A-9A57-7F1F0D6C0A11"));
  const Sequence& cut = *document.items[0].sequence;
  EXPECT_EQ(cut.width, 720);
  EXPECT_EQ(cut.height, 576);
  EXPECT_EQ(cut.pixelAspect, (Ratio{59, 54}));
  EXPECT_EQ(cut.fieldOrder, FieldOrder::kUpperFirst);
  EXPECT_EQ(cut.audioRate, 44100u);
  EXPECT_EQ(cut.DurationFrames(), 150);
  const auto& clips = cut.videoTracks.at(0).clips;
  ASSERT_EQ(clips.size(), 3u);
  EXPECT_EQ(clips[0].media, "/Volumes/Media/Rushes/Interview A.mov");
  EXPECT_EQ(clips[0].out - clips[0].in, 50);
  EXPECT_EQ(clips[1].media, "/Volumes/Media/Stills/Caf\xC3\xA9 exterior.png");
  EXPECT_TRUE(clips[1].still);
  EXPECT_EQ(clips[1].start, 50);
  EXPECT_EQ(clips[1].out - clips[1].in, 50);
  EXPECT_EQ(clips[2].media, clips[0].media);
  EXPECT_FALSE(cut.videoTracks.at(1).clips.at(0).enabled);
  EXPECT_TRUE(cut.videoTracks.at(1).clips.at(0).media.empty());
  EXPECT_EQ(cut.audioTracks.at(0).clips.at(0).media, clips[0].media);
  EXPECT_EQ(cut.markers.at(0).frame, 120);
  EXPECT_EQ(document.items[1].sequence->frameRate, (Ratio{24000, 1001}));
  EXPECT_EQ(document.items[1].sequence->videoTracks.at(0).clips.at(0).media, clips[0].media);
  EXPECT_FALSE(notes.empty());
}

TEST(XmemlReaderExamplesTest, CutSampleReadsWithItsTransitionAsACut) {
  const ProjectDocument document = XmemlReader::ReadFile(std::string(TETHER_TEST_EXAMPLES_FOLDER) + "/host/cut.xml");
  const Sequence& cut = FirstSequence(document);
  const auto& clips = cut.videoTracks.at(0).clips;
  ASSERT_EQ(clips.size(), 4u);
  EXPECT_EQ(clips[0].start + (clips[0].out - clips[0].in), 30);
  EXPECT_EQ(clips[1].start, 30);
  EXPECT_EQ(clips[1].media, "/nonexistent folder/title card.png");
  EXPECT_EQ(clips[2].media, "shot.png");
  EXPECT_EQ(cut.DurationFrames(), 120);
}

}  // namespace
}  // namespace ProjectXML
