#pragma once

#include <kilncore/string/WideString.h>

#include <cstdint>
#include <vector>

namespace WF {

// A refinement of an importable file type. The importer layer offers it in the
// file dialog under its parent type.
struct ImportableFileSubType {
  // Four-character code, first character in the most significant byte.
  uint32_t subType = 0;
  kilncore::WideString description;

  friend bool operator==(const ImportableFileSubType&, const ImportableFileSubType&) = default;
};

// One row of the table of file types that an importer offers to the host.
struct ImportableFileType {
  // Four-character code, first character in the most significant byte.
  uint32_t fileType = 0;
  // The text of the file dialog's type list, localised.
  kilncore::WideString description;
  // Semicolon-separated wildcard patterns, e.g. u"*.marl;*.marlx".
  kilncore::WideString extensions;
  // Bits of the importer layer's own meaning.
  uint32_t flags = 0;
  std::vector<ImportableFileSubType> subTypes;

  friend bool operator==(const ImportableFileType&, const ImportableFileType&) = default;
};

}  // namespace WF
