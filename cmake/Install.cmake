# The SDK: what a host or a provider plug-in is built and run with, and nothing else. The target
# "sdk" builds what it needs; tools/sdk-check.sh installs it and uses it.
get_property(plugins GLOBAL PROPERTY TERRASCOPE_PLUGINS)
get_property(decoders GLOBAL PROPERTY TERRASCOPE_DECODERS)
add_custom_target(sdk
    DEPENDS Terrascope framework terrascope_support TerrascopeViewer ${plugins} ${decoders})

install(TARGETS Terrascope framework
    RUNTIME DESTINATION bin
    ARCHIVE DESTINATION lib)
install(TARGETS terrascope_support ARCHIVE DESTINATION lib)
install(TARGETS TerrascopeViewer RUNTIME DESTINATION bin)
install(TARGETS ${plugins} LIBRARY DESTINATION bin/${TERRASCOPE_PLUGIN_SUBDIR})
if(decoders)
    install(TARGETS ${decoders} LIBRARY DESTINATION bin/${TERRASCOPE_DECODER_SUBDIR})
endif()
foreach(dll ${TERRASCOPE_RUNTIME_DLLS})
    install(FILES ${TERRASCOPE_BIN_DIR}/${dll} DESTINATION bin)
endforeach()

# The debug information goes into files of its own under symbols/, which a delivery leaves out.
set(with_symbols bin/$<TARGET_FILE_NAME:Terrascope> bin/$<TARGET_FILE_NAME:framework>
    bin/$<TARGET_FILE_NAME:TerrascopeViewer>)
foreach(plugin ${plugins})
    list(APPEND with_symbols bin/${TERRASCOPE_PLUGIN_SUBDIR}/$<TARGET_FILE_NAME:${plugin}>)
endforeach()
foreach(decoder ${decoders})
    list(APPEND with_symbols bin/${TERRASCOPE_DECODER_SUBDIR}/$<TARGET_FILE_NAME:${decoder}>)
endforeach()
install(CODE "
    set(objcopy \"${CMAKE_OBJCOPY}\")
    set(modules \"${with_symbols}\")
    set(libraries lib/$<TARGET_FILE_NAME:terrascope_support>)
    include(\"${PROJECT_SOURCE_DIR}/cmake/SplitSymbols.cmake\")")

# Headers keep the paths under which the sources include them; the framework's are found by name.
file(STRINGS packaging/sdk-headers.txt lines REGEX "^(host|plugin|both) ")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS packaging/sdk-headers.txt)
foreach(line ${lines})
    string(REGEX REPLACE "^[a-z]+ +" "" path ${line})
    if(NOT EXISTS ${PROJECT_SOURCE_DIR}/${path})
        message(FATAL_ERROR "packaging/sdk-headers.txt names ${path}, which does not exist.")
    endif()
    string(REGEX REPLACE "^platform/" "" installed ${path})
    if(path MATCHES "/$")
        install(DIRECTORY ${path} DESTINATION include/${installed}
            FILES_MATCHING PATTERN "*.h")
    else()
        get_filename_component(folder ${installed} DIRECTORY)
        install(FILES ${path} DESTINATION include/${folder})
    endif()
endforeach()

# The folders' names keep the links between documents and examples whole.
install(FILES docs/hosting.md docs/maps.md docs/writing-a-decoder.md docs/writing-a-provider.md
    DESTINATION docs)
install(DIRECTORY examples DESTINATION .)
# A sample: in bin/language it would replace the texts of the resources.
install(DIRECTORY packaging/language DESTINATION docs)
install(FILES CHANGELOG.md THIRD-PARTY-NOTICES DESTINATION .)

include(CMakePackageConfigHelpers)
configure_file(packaging/TerrascopeConfig.cmake.in TerrascopeConfig.cmake @ONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TerrascopeConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/TerrascopeConfig.cmake
    ${PROJECT_BINARY_DIR}/TerrascopeConfigVersion.cmake
    DESTINATION lib/cmake/Terrascope)
