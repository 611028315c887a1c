# The SDK: what a host or a provider plug-in is built and run with, and nothing else.
# Headers keep the paths under which the sources include them.
install(TARGETS Terrascope framework
    RUNTIME DESTINATION bin
    ARCHIVE DESTINATION lib)
install(TARGETS terrascope_support ARCHIVE DESTINATION lib)
install(TARGETS TerrascopeViewer RUNTIME DESTINATION bin)
install(DIRECTORY ${TERRASCOPE_BIN_DIR}/Plugins DESTINATION bin FILES_MATCHING PATTERN "*.dll")
foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
    install(FILES ${TERRASCOPE_BIN_DIR}/${dll} DESTINATION bin)
endforeach()

install(DIRECTORY platform/framework/ DESTINATION include/framework
    FILES_MATCHING PATTERN "*.h")
install(FILES
    terrascope/api/ITerrascope.h
    terrascope/api/MapAssistant.h
    DESTINATION include/terrascope/api)
install(FILES terrascope/display/ITerrascope.h DESTINATION include/terrascope/display)
install(DIRECTORY terrascope/support/ DESTINATION include/terrascope/support
    FILES_MATCHING PATTERN "*.h")
# What registers and answers; how the library picks a provider stays inside.
install(DIRECTORY terrascope/providers/ DESTINATION include/terrascope/providers
    FILES_MATCHING PATTERN "ITileMapInfoProvider.h" PATTERN "TileMapRecords.h"
    PATTERN "Plugin*.h" PATTERN "TileMapInfoProviderPlugin*.h")

# A sample: in bin/language it would replace the texts of the resources.
install(DIRECTORY packaging/language DESTINATION doc)

include(CMakePackageConfigHelpers)
configure_file(packaging/TerrascopeConfig.cmake.in TerrascopeConfig.cmake @ONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TerrascopeConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/TerrascopeConfig.cmake
    ${PROJECT_BINARY_DIR}/TerrascopeConfigVersion.cmake
    DESTINATION lib/cmake/Terrascope)
install(FILES docs/hosting.md docs/writing-a-provider.md DESTINATION doc OPTIONAL)
