#include "host/output/OutputFile.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

namespace tetherhost {

OutputFile::OutputFile(std::filesystem::path path) : mPath(std::move(path)) {
  std::string name = ".";
  name.append(mPath.filename().string()).append(".part-").append(std::to_string(::getpid()));
  mTemporary = mPath.parent_path() / name;
}

OutputFile::~OutputFile() {
  if (!mCommitted) {
    std::error_code ignored;
    std::filesystem::remove(mTemporary, ignored);
  }
}

void OutputFile::Commit() {
  if (std::rename(mTemporary.c_str(), mPath.c_str()) != 0) {
    throw std::runtime_error("cannot move " + mTemporary.string() + " to " + mPath.string() + ": " +
                             std::strerror(errno));
  }
  mCommitted = true;
}

}  // namespace tetherhost
