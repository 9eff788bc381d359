#include "BlockingProjectFile.h"

#include <kilncore/string/UTFConversion.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TetherMedia::integration {

BlockingProjectFile::BlockingProjectFile(const std::filesystem::path& path) : mPath(path) {
  EXPECT_EQ(::mkfifo(mPath.c_str(), 0600), 0);
}

BlockingProjectFile::~BlockingProjectFile() {
  if (mWriter >= 0) ::close(mWriter);
}

bool BlockingProjectFile::WaitForReader() {
  mWriter = ::open(mPath.c_str(), O_WRONLY);
  return mWriter >= 0;
}

void BlockingProjectFile::ReleaseWriter() const {
  const int reader = ::open(mPath.c_str(), O_RDONLY | O_NONBLOCK);
  if (reader >= 0) ::close(reader);
}

kilncore::WideString BlockingProjectFile::Path() const { return kilncore::string::UTF8to16(mPath.string()); }

}  // namespace TetherMedia::integration
