#include <host/session/ProgressView.h>

#include <host/cli/ProgressText.h>

#include <TetherMedia/Lifecycle.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/string/UTFConversion.h>
#include <mediainfo/TetherProgress.h>

#include <unistd.h>

#include <vector>

namespace tetherhost {

ProgressView::ProgressView(std::FILE* out)
    : mDraw(isatty(fileno(out)) != 0),
      mBar(out),
      mStation(kilncore::messaging::FindStation(TetherMedia::GetProgressStation())) {
  if (mStation) {
    mListener = mStation->AddListener([this](const kilncore::messaging::Message& message) { OnMessage(message); });
  }
}

ProgressView::~ProgressView() {
  if (mStation) mStation->RemoveListener(mListener);
  Finish();
}

void ProgressView::Report(double fraction, const std::string& message) {
  std::lock_guard lock(mMutex);
  if (mDraw) mBar.Update(fraction, message);
}

void ProgressView::Finish() {
  std::lock_guard lock(mMutex);
  mBar.Finish();
}

void ProgressView::Print(const std::string& text) {
  std::lock_guard lock(mMutex);
  mBar.Finish();
  std::fputs(text.c_str(), mReportStream);
  std::fflush(mReportStream);
}

void ProgressView::SetReportStream(std::FILE* reports) {
  std::lock_guard lock(mMutex);
  mReportStream = reports;
}

size_t ProgressView::ReportsReceived() const {
  std::lock_guard lock(mMutex);
  return mReports;
}

void ProgressView::OnMessage(const kilncore::messaging::Message& message) {
  const auto* progress = kilncore::messaging::MessageCast<TetherMedia::TetherProgress>(message);
  if (!progress) return;
  std::vector<std::string> arguments;
  for (const auto& argument : progress->GetProgressArguments()) {
    arguments.push_back(kilncore::string::UTF16to8(argument));
  }
  {
    std::lock_guard lock(mMutex);
    ++mReports;
  }
  Report(progress->GetProgress(), ProgressText(progress->GetProgressType(), arguments));
}

}  // namespace tetherhost
