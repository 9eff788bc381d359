// How long an edit of a project file takes to reach the host as
// KL::MediaInfoChangedMessage through the road of `tetherhost watch` (inotify
// report, RefreshFile, the server reading the file again, the content state
// compared, the message posted to the host's user-interface thread), against
// a bare inotify report of the same write, in the same run.
//
// One run writes the sample project with a new colour N times; each write is
// timed from just before the write to the report (bare) and to the message
// (watch's road). Prints the median and the worst of each.
#include <host/session/FileChangeWatch.h>

#include <KL/IMediaFile.h>
#include <KL/IMediaInfo.h>
#include <KL/MediaInfoChangedMessage.h>
#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/Prefs.h>
#include <WF/IImporterFactory.h>
#include <WF/ReferenceImporterFactory.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/classref/ClassFactory.h>
#include <kilncore/messaging/Message.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/messaging/UIThreadQueue.h>
#include <kilncore/string/UTFConversion.h>
#include <tether/Backend.h>
#include <tether/ipc/IpcBackend.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

const std::filesystem::path kSample = std::filesystem::path(TETHER_BENCH_EXAMPLES_FOLDER) / "simple.marlp";
const kilncore::utility::Guid kComposition(u"5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01");
constexpr int kWrites = 40;
constexpr uint32_t kModuleCode = 0x5454484Du;

std::string Sample() {
  std::ifstream in(kSample, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The sample with the background's red set to `red`.
std::string Edited(const std::string& sample, int red) {
  std::string text = sample;
  const std::string from = "[0.1, 0.1, 0.12, 1.0]";
  text.replace(text.find(from), from.size(), "[0." + std::to_string(100 + red) + ", 0.1, 0.12, 1.0]");
  return text;
}

// One event at a time, with the moment it happened.
class Signal {
 public:
  void Set(Clock::time_point when) {
    std::lock_guard lock(mMutex);
    mWhen = when;
    mSet = true;
    mChanged.notify_all();
  }
  Clock::time_point Wait() {
    std::unique_lock lock(mMutex);
    mChanged.wait_for(lock, std::chrono::seconds(10), [&] { return mSet; });
    mSet = false;
    return mWhen;
  }

 private:
  std::mutex mMutex;
  std::condition_variable mChanged;
  bool mSet = false;
  Clock::time_point mWhen;
};

struct Figures {
  double median = 0;
  double worst = 0;
};

Figures Summarise(std::vector<double> milliseconds) {
  std::sort(milliseconds.begin(), milliseconds.end());
  return {milliseconds[milliseconds.size() / 2], milliseconds.back()};
}

}  // namespace

int main() {
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("bench-watch-" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const std::filesystem::path project = folder / "simple.marlp";
  const std::string sample = Sample();
  std::ofstream(project, std::ios::binary) << sample;

  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
  WF::RegisterReferenceImporterFactory();
  tether::ipc::IpcBackendOptions options;
  options.serverExecutable = TETHER_BENCH_SERVER_EXECUTABLE;
  tether::InstallBackend(tether::ipc::IpcBackend::Create(options));
  TetherMedia::Initialize();
  kilncore::classref::InterfaceRef<WF::IImporterFactory> factory =
      kilncore::classref::CreateClassInstanceRef(WF::kImporterFactoryClassID);
  kilncore::classref::InterfaceRef<WF::IMediaModule> module;
  for (const auto& candidate : factory->GetMediaModules()) {
    if (candidate && candidate->GetModuleCode() == kModuleCode) module = candidate;
  }
  if (!module) {
    std::fprintf(stderr, "bench_watch: the module did not register\n");
    return 1;
  }
  kilncore::classref::InterfaceRef<KL::IMediaInfo> item;
  RL::BinaryData prefs = TetherMedia::SourceIDToPrefs(kComposition);
  bool prefsChanged = false;
  const kilncore::WideString path = kilncore::string::UTF8to16(project.string());
  if (module->ImportFile(item, path, 0, 0, prefs, prefsChanged, true, false, {}, 0, nullptr, 0, nullptr) < 0 || !item) {
    std::fprintf(stderr, "bench_watch: the import failed\n");
    return 1;
  }
  const kilncore::classref::InterfaceRef<KL::IMediaFile> file(item);
  const kilncore::WideString itemPath = file->GetFilePath();

  // The host's user-interface thread, where the message arrives.
  Signal message;
  std::atomic<bool> running{true};
  const auto station = kilncore::messaging::FindStation(item->GetStationID());
  station->AddListener([&](const kilncore::messaging::Message& received) {
    if (kilncore::messaging::MessageCast<KL::MediaInfoChangedMessage>(received)) message.Set(Clock::now());
  });
  std::thread ui([&] {
    auto& queue = kilncore::messaging::UIThreadQueue::Instance();
    while (running.load()) queue.WaitAndPump(Clock::now() + std::chrono::milliseconds(100));
  });

  std::vector<double> bare;
  std::vector<double> road;
  {
    Signal report;
    // The bare notification: the same kind of watch, doing nothing more.
    const tetherhost::FileChangeWatch bareWatch(project, [&](tetherhost::FileChangeWatch::Change, Clock::time_point when) {
      report.Set(when);
    });
    // watch's road: the report, then RefreshFile.
    const tetherhost::FileChangeWatch roadWatch(project, [&](tetherhost::FileChangeWatch::Change, Clock::time_point) {
      file->RefreshFile(itemPath);
    });
    for (int i = 1; i <= kWrites; ++i) {
      const Clock::time_point start = Clock::now();
      std::ofstream(project, std::ios::binary | std::ios::trunc) << Edited(sample, i);
      const Clock::time_point reported = report.Wait();
      const Clock::time_point arrived = message.Wait();
      bare.push_back(std::chrono::duration<double, std::milli>(reported - start).count());
      road.push_back(std::chrono::duration<double, std::milli>(arrived - start).count());
    }
  }
  running.store(false);
  kilncore::messaging::UIThreadQueue::Instance().Wake();
  ui.join();

  std::vector<double> extra;
  for (size_t i = 0; i < bare.size(); ++i) extra.push_back(road[i] - bare[i]);
  const Figures extraFigures = Summarise(extra);
  const Figures bareFigures = Summarise(bare);
  const Figures roadFigures = Summarise(road);
  std::printf("%d writes of %s\n", kWrites, project.filename().string().c_str());
  std::printf("bare inotify report:             median %7.3f ms, worst %7.3f ms\n", bareFigures.median,
              bareFigures.worst);
  std::printf("MediaInfoChangedMessage (watch): median %7.3f ms, worst %7.3f ms\n", roadFigures.median,
              roadFigures.worst);
  std::printf("the road's own time (difference): median %7.3f ms, worst %7.3f ms\n", extraFigures.median,
              extraFigures.worst);

  item = nullptr;
  module = nullptr;
  factory = nullptr;
  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateTerminating);
  TetherMedia::Shutdown();
  tether::InstallBackend(nullptr);
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
  return 0;
}
