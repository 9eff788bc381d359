#pragma once

#include <KL/IProject.h>
#include <KL/IProjectLoad.h>

#include <kilncore/classref/InterfaceRef.h>

#include <cstdint>
#include <string_view>

namespace WF {

// How the importer layer loads a project it was handed, and where the load
// reports to.
//
// Load modes: kLoadForImport (2) loads a project that exists only to hand its
// items to the importing project: everything is made in memory, nothing is
// saved, no media is looked for on disk.
class ProjectLoadSupport final : public KL::IProjectLoadSupport {
 public:
  static constexpr int32_t kLoadForImport = 2;

  static kilncore::classref::InterfaceRef<KL::IProjectLoadSupport> Create(
      const kilncore::classref::InterfaceRef<KL::IProject>& project, int32_t mode,
      const kilncore::classref::InterfaceRef<KL::IProjectLoadStatus>& status);

  ProjectLoadSupport(kilncore::classref::InterfaceRef<KL::IProject> project, int32_t mode,
                     kilncore::classref::InterfaceRef<KL::IProjectLoadStatus> status);
  ~ProjectLoadSupport() override;

  int32_t GetLoadMode() const override;
  // The status given at creation; may be null.
  KL::IProjectLoadStatus* GetStatus() const override;
  const kilncore::classref::InterfaceRef<KL::IProject>& GetProject() const { return mProject; }

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  const kilncore::classref::InterfaceRef<KL::IProject> mProject;
  const int32_t mMode;
  const kilncore::classref::InterfaceRef<KL::IProjectLoadStatus> mStatus;
};

}  // namespace WF
