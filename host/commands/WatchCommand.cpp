#include <host/commands/WatchCommand.h>

#include <host/cli/CommandLine.h>
#include <host/cli/Formatted.h>
#include <host/cli/HostError.h>
#include <host/cli/Interruption.h>
#include <host/commands/ClipReport.h>
#include <host/output/PngFile.h>
#include <host/session/FileChangeWatch.h>
#include <host/session/FramePuller.h>
#include <host/session/HostSession.h>
#include <host/session/LinkQuestions.h>
#include <host/session/LinkedClip.h>
#include <host/session/ProgressView.h>

#include <KL/FontSetUpdateManager.h>
#include <KL/IFontSetWatcher.h>
#include <KL/IMediaFile.h>
#include <KL/MediaInfoChangedMessage.h>
#include <KL/MediaInfoDeletedMessage.h>
#include <TetherMedia/MissingAssets.h>
#include <kilncore/messaging/Message.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilnmediatypes/PixelFormat.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace tetherhost {
namespace {

using Clock = std::chrono::steady_clock;

// What the module said, in the order it said it, with what set it off.
class WatchEvents {
 public:
  enum class Kind { kChanged, kOffline };
  struct Event {
    Kind kind;
    Clock::time_point when;
    // The change that came before it (the project file, the fonts), if any.
    std::string cause;
    std::optional<Clock::time_point> causeTime;
  };

  // A change was seen; the next message is put down to it.
  void NoteCause(const std::string& cause, Clock::time_point when) {
    std::lock_guard lock(mMutex);
    mCause = cause;
    mCauseTime = when;
  }

  void Add(Kind kind) {
    const Clock::time_point now = Clock::now();
    std::lock_guard lock(mMutex);
    mEvents.push_back({kind, now, mCause.empty() ? "unknown" : mCause, mCauseTime});
    mCause.clear();
    mCauseTime.reset();
    mArrived.notify_all();
  }

  // The next event, or nothing after `wait` (so that Ctrl-C is noticed).
  std::optional<Event> Next(std::chrono::milliseconds wait) {
    std::unique_lock lock(mMutex);
    if (!mArrived.wait_for(lock, wait, [&] { return !mEvents.empty(); })) return std::nullopt;
    Event event = std::move(mEvents.front());
    mEvents.pop_front();
    return event;
  }

 private:
  std::mutex mMutex;
  std::condition_variable mArrived;
  std::deque<Event> mEvents;
  std::string mCause;
  std::optional<Clock::time_point> mCauseTime;
};

// Registered with the font manager before the item is, so that it is told of
// a font change first and the item's message is put down to the fonts.
class FontChangeNote : public KL::IFontSetWatcher {
 public:
  explicit FontChangeNote(std::shared_ptr<WatchEvents> events) : mEvents(std::move(events)) {}
  bool OnFontSetChanged() override {
    mEvents->NoteCause("the machine's fonts", Clock::now());
    return false;
  }

 private:
  std::shared_ptr<WatchEvents> mEvents;
};

// Listens to the item's station for as long as it lives.
class ItemListener {
 public:
  ItemListener(const LinkedClip& clip, std::shared_ptr<WatchEvents> events)
      : mStation(kilncore::messaging::FindStation(clip.Item()->GetStationID())) {
    if (!mStation) throw HostError("the item has no station to listen to");
    mListener = mStation->AddListener([events](const kilncore::messaging::Message& message) {
      if (kilncore::messaging::MessageCast<KL::MediaInfoChangedMessage>(message)) {
        events->Add(WatchEvents::Kind::kChanged);
      } else if (kilncore::messaging::MessageCast<KL::MediaInfoDeletedMessage>(message)) {
        events->Add(WatchEvents::Kind::kOffline);
      }
    });
  }
  ~ItemListener() { mStation->RemoveListener(mListener); }
  ItemListener(const ItemListener&) = delete;
  ItemListener& operator=(const ItemListener&) = delete;

 private:
  std::shared_ptr<kilncore::messaging::Station> mStation;
  kilncore::messaging::Broadcaster::ListenerID mListener = 0;
};

std::filesystem::path WriteFrame(const LinkedClip& clip, const ClipDescription& description,
                                 const std::filesystem::path& folder, int number) {
  const auto video = clip.VideoStream();
  FramePuller puller(*video, clip.Prefs(), description.frameRate, kilnmediatypes::kPixelFormat_BGRA_4444_8u, 0, 0);
  char name[32];
  std::snprintf(name, sizeof name, "frame-%04d.png", number);
  const std::filesystem::path path = folder / name;
  PngFile::Write(path, puller.Pull(0),
                 PixelAspect{description.pixelAspectNumerator, description.pixelAspectDenominator});
  return path;
}

std::string LatencyText(const WatchEvents::Event& event) {
  if (!event.causeTime) return "after no change seen here";
  const double milliseconds = std::chrono::duration<double, std::milli>(event.when - *event.causeTime).count();
  return Formatted("%.1f ms after the change", milliseconds);
}

}  // namespace

int RunWatch(HostSession& session, const WatchOptions& options) {
  if (options.out == "-") throw std::invalid_argument("--out is a folder for PNG files, not standard output");
  return session.RunWithUserInterface([&] {
    auto events = std::make_shared<WatchEvents>();
    auto* fonts = KL::Utils::FontSetUpdateManager::GetInstance();
    const auto fontNote = std::make_shared<FontChangeNote>(events);
    fonts->RegisterWatcher(std::weak_ptr<KL::IFontSetWatcher>(fontNote));

    const LinkedClip clip = LinkedClip::Import(session.Module(), options.project, options.item);
    ClipDescription description = clip.Describe();
    session.Progress().Print(DescriptionText(description) + MissingFontsText(TetherMedia::GetMissingFonts()) +
                             LinkText(ContainsLink(clip.Item())));
    std::filesystem::create_directories(options.out);
    int written = 0;
    session.Progress().Print("frame:         " + WriteFrame(clip, description, options.out, written++).string() + "\n");

    const ItemListener listener(clip, events);
    const kilncore::classref::InterfaceRef<KL::IMediaFile> file(clip.Item());
    if (!file) throw HostError("the item can't be refreshed");
    const kilncore::WideString path = file->GetFilePath();
    const FileChangeWatch watch(options.project, [events, file, path](FileChangeWatch::Change change,
                                                                      Clock::time_point when) {
      events->NoteCause(std::string("the project file (") + FileChangeWatch::Name(change) + ")", when);
      file->RefreshFile(path);
    });
    if (!watch.IsWatching()) throw HostError("can't watch " + options.project.string());
    const bool watchingFonts = fonts->WatchMachineFonts();
    session.Progress().Print("watching:      " + options.project.string() +
                             (watchingFonts ? " and the machine's fonts" : "") + "; Ctrl-C ends\n");

    const Clock::time_point started = Clock::now();
    int changes = 0;
    int offline = 0;
    bool isOffline = false;
    while (!Interruption::Requested()) {
      const std::optional<WatchEvents::Event> event = events->Next(std::chrono::milliseconds(200));
      if (!event) continue;
      if (event->kind == WatchEvents::Kind::kOffline) {
        // Every refresh that finds the file gone says so again (a save's
        // several reports can still be on their way when the file is
        // deleted); the item went offline once, as a host's bin shows it.
        if (isOffline) continue;
        isOffline = true;
        ++offline;
        session.Progress().Print("offline:       " + event->cause + ": the item is offline, " + LatencyText(*event) +
                                 "; its last frame stays\n");
        continue;
      }
      isOffline = false;
      ++changes;
      description = clip.Describe();
      const std::filesystem::path frame = WriteFrame(clip, description, options.out, written++);
      session.Progress().Print("changed:       " + event->cause + ", content state " +
                               description.contentState.AsUTF8String() + ", " + LatencyText(*event) + ", " +
                               frame.filename().string() + "\n");
    }
    fonts->StopWatchingMachineFonts();
    const double seconds = std::chrono::duration<double>(Clock::now() - started).count();
    session.Progress().Print(Formatted("watched:       %.1f s, %d changes, %d times offline, %d frames in %s\n",
                                       seconds, changes, offline, written, options.out.string().c_str()));
    return 0;
  });
}

void AddWatchCommand(CommandLine& commandLine) {
  auto options = std::make_shared<WatchOptions>();
  CLI::App* watch = commandLine.AddCommand(
      "watch", "import an item and follow its project file and the machine's fonts", [options] {
        HostSession session;
        return RunWatch(session, *options);
      });
  watch->add_option("PROJECT", options->project, "the project file")->required();
  watch->add_option("--item", options->item, "the item, by name or identifier (default: the first)");
  watch->add_option("--out", options->out, "folder for the frames written")->capture_default_str();
}

}  // namespace tetherhost
