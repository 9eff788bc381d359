#pragma once

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Seam.h>

namespace WF::ImportableFileTypeUtils {

// Tests of the project types that a linked item may come from, decided by the
// extension of the path alone: the file isn't opened, and it need not exist.
// Extensions are compared without regard to ASCII case, since project files
// travel between file systems that keep case and ones that don't. A path whose
// last component has no extension is of no project type. See
// docs/file-types.md for the table.

// The extensions, with their dot, as the tests below know them.
inline constexpr char16_t kMarlProjectExtension[] = u".marlp";
inline constexpr char16_t kMarlXMLProjectExtension[] = u".marlpx";
inline constexpr char16_t kMarlTextTemplateExtension[] = u".marlcap";
inline constexpr char16_t kMarlGraphicsTemplateExtension[] = u".marlgraphic";
inline constexpr char16_t kSprocketProjectExtension[] = u".spkscene";
// Sprocket's other flavour, the source-type project, opened with the clip's
// render options. It is no Sprocket project to IsSprocketProject: the module
// recognises it by this exact extension, in its own row.
inline constexpr char16_t kSprocketSourceTypeProjectExtension[] = u".spkproj";
inline constexpr char16_t kTolmenProjectExtension_Legacy[] = u".tlmproj";
inline constexpr char16_t kTolmenProjectExtension_Unified[] = u".tlmprojx";
inline constexpr char16_t kFCPProjectExtension[] = u".xml";

// A project of Marl: a project (".marlp", ".marlpx"), a text template
// (".marlcap") or a motion graphics template (".marlgraphic"). With
// `graphicsTemplateOnly`, only the motion graphics template counts.
bool IsMarlProject(kilncore::WideStringView path, bool graphicsTemplateOnly);

// A Sprocket scene project (".spkscene"). The source-type project
// (".spkproj") is not one.
bool IsSprocketProject(kilncore::WideStringView path);

// A project of Tolmen, in its legacy (".tlmproj") or unified (".tlmprojx")
// format.
bool IsTolmenProject(kilncore::WideStringView path);

// A Final Cut Pro XML interchange file (".xml").
bool IsFCPProject(kilncore::WideStringView path);

// Host policy seams of the four tests (see kilncore/utility/Seam.h): which files
// a host takes for which project is its own matter, and a test may need a path
// that passes two tests at once.
kilncore::utility::Seam<bool(kilncore::WideStringView, bool)>& IsMarlProjectSeam();
kilncore::utility::Seam<bool(kilncore::WideStringView)>& IsSprocketProjectSeam();
kilncore::utility::Seam<bool(kilncore::WideStringView)>& IsTolmenProjectSeam();
kilncore::utility::Seam<bool(kilncore::WideStringView)>& IsFCPProjectSeam();

}  // namespace WF::ImportableFileTypeUtils
