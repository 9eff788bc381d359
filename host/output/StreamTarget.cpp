#include "host/output/StreamTarget.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace tetherhost {

StreamTarget::StreamTarget(const std::filesystem::path& where) {
  if (IsStandardOutput(where)) {
    mFile = stdout;
    return;
  }
  mOutput.emplace(where);
  mFile = std::fopen(mOutput->temporary().c_str(), "wb");
  if (mFile == nullptr) throw std::runtime_error("cannot write " + where.string() + ": " + std::strerror(errno));
}

StreamTarget::~StreamTarget() {
  if (mOutput && mFile != nullptr) std::fclose(mFile);
}

void StreamTarget::Finish() {
  if (!mOutput) {
    if (std::fflush(mFile) != 0) throw std::runtime_error(std::string("cannot write standard output: ") + std::strerror(errno));
    return;
  }
  if (mFile == nullptr) return;
  const int closed = std::fclose(mFile);
  mFile = nullptr;
  if (closed != 0) throw std::runtime_error("cannot write " + mOutput->path().string() + ": " + std::strerror(errno));
  mOutput->Commit();
}

}  // namespace tetherhost
