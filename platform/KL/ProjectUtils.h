#pragma once

namespace KL::ProjectUtils {

// The host's own project files. A project is saved in the legacy format,
// or, where unified projects are enabled (KL::UnifiedProject), also in the
// unified format. The extensions begin with their dot and are the ones that
// WF::ImportableFileTypeUtils recognises.
inline constexpr char16_t kTolmenProjectExtension_Legacy[] = u".tlmproj";
inline constexpr char16_t kTolmenProjectExtension_Unified[] = u".tlmprojx";

// Texts for the type list of a file dialog that offers the host's projects,
// as localisation keys with their default behind the '='; pass them through
// kilncore::config::Localizer. The first names only the legacy format, the
// second every project format the host can open.
inline constexpr char16_t kTolmenProjectFilterKey_Legacy_Stable[] =
    u"$$$/KL/ProjectUtils/TolmenProjectFilter=Tolmen Project (*.tlmproj)";
inline constexpr char16_t kTolmenProjectFilterKey_AllProjectTypes_PlusExtensions[] =
    u"$$$/KL/ProjectUtils/TolmenAllProjectsFilter=All Tolmen Projects (*.tlmproj, *.tlmprojx)";

}  // namespace KL::ProjectUtils
