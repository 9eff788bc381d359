# The module itself. Its sources compile once, with hidden visibility, into an
# object library; from those objects come the shared module that a host loads
# (exporting only what is marked TETHERMEDIA_API) and a static twin that the
# unit tests link so that they can reach the module's internal classes.
set(TETHER_MODULE_FOLDERS module requests mediainfo source ui)
set(module_sources)
foreach(folder IN LISTS TETHER_MODULE_FOLDERS)
  file(GLOB_RECURSE found CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/${folder}/*.cpp")
  list(APPEND module_sources ${found})
endforeach()

if(module_sources)
  add_library(TetherMediaObjects OBJECT ${module_sources})
  target_include_directories(TetherMediaObjects
    PUBLIC "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}")
  target_compile_definitions(TetherMediaObjects PUBLIC TETHERMEDIA_BUILDING_MODULE=1)
  set_target_properties(TetherMediaObjects PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)
  # The dialog's layouts travel inside the module, as its resources.
  include(TetherResources)
  tether_embed_resources(OUTPUT "${PROJECT_BINARY_DIR}/generated/ui/MarlRenderSettingsDialogLayouts.inc"
    TYPE LOOM RESOURCES
    MARLRENDERSETTINGSDIALOG "${PROJECT_SOURCE_DIR}/resources/MarlRenderSettingsDialog.loom"
    MARLRENDERSETTINGSDIALOG.SHED "${PROJECT_SOURCE_DIR}/resources/MarlRenderSettingsDialog.shed.loom")
  set_source_files_properties("${PROJECT_SOURCE_DIR}/ui/MarlRenderSettingsDialog.cpp"
    PROPERTIES INCLUDE_DIRECTORIES "${PROJECT_BINARY_DIR}/generated")
  target_link_libraries(TetherMediaObjects
    PUBLIC kilncore kilnmediatypes kilnaudiotoolkit Crate SillFoundation Riffle Keel DRInterfaces Pane Wharf FarsideClient kilnui kilnloomfactory kilnworkspace tether
    PRIVATE tether_warnings)

  add_library(TetherMedia SHARED $<TARGET_OBJECTS:TetherMediaObjects>)
  target_include_directories(TetherMedia PUBLIC "${PROJECT_SOURCE_DIR}/include")
  target_link_libraries(TetherMedia PUBLIC kilncore kilnmediatypes kilnaudiotoolkit Crate SillFoundation Riffle Keel DRInterfaces Pane Wharf FarsideClient kilnui kilnloomfactory kilnworkspace tether)

  add_library(TetherMediaStatic STATIC $<TARGET_OBJECTS:TetherMediaObjects>)
  target_include_directories(TetherMediaStatic
    PUBLIC "${PROJECT_SOURCE_DIR}/include" "${PROJECT_SOURCE_DIR}")
  target_compile_definitions(TetherMediaStatic PUBLIC TETHERMEDIA_BUILDING_MODULE=1)
  target_link_libraries(TetherMediaStatic PUBLIC kilncore kilnmediatypes kilnaudiotoolkit Crate SillFoundation Riffle Keel DRInterfaces Pane Wharf FarsideClient kilnui kilnloomfactory kilnworkspace tether)
endif()
