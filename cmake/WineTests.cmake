# GoogleTest built for the target, and test programs that CTest starts under Wine.
if(NOT CMAKE_HOST_WIN32)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${PROJECT_SOURCE_DIR}/cmake/wine-run.sh ${PROJECT_BINARY_DIR})
endif()

if(TERRASCOPE_BUILD_TESTS)
    if(NOT CMAKE_HOST_WIN32)
        add_executable(wine_prestart ${PROJECT_SOURCE_DIR}/cmake/WinePrestart.cpp)
        set_target_properties(wine_prestart PROPERTIES
            RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR})
        target_link_options(wine_prestart PRIVATE -static)
    endif()
    set(TERRASCOPE_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "GoogleTest's sources")
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    set(gtest_disable_pthreads ON CACHE BOOL "" FORCE)
    set(BUILD_SHARED_LIBS OFF)
    add_subdirectory(${TERRASCOPE_GOOGLETEST_DIR} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
    include(GoogleTest)
endif()

# terrascope_test(NAME SOURCES ... LIBRARIES ... [LOCALES ...] [UTF8] [TIMEOUT seconds])
#
# One test program in a folder of its own (build/<preset>/tests/NAME), so that a test may put
# plug-ins and an ini file beside it. CTest's label for its tests is its name. LOCALES runs the whole
# program once more under each named locale (zh_CN.UTF-8 makes the active code page 936). UTF8 does so
# under the code page 65001, which only a manifest can set: the test NAME.utf8 runs a copy of the
# program in the folder NAME/utf8.
function(terrascope_test name)
    cmake_parse_arguments(arg "UTF8" "TIMEOUT" "SOURCES;LIBRARIES;LOCALES" ${ARGN})
    if(NOT arg_TIMEOUT)
        set(arg_TIMEOUT 120)
    endif()
    add_executable(${name} ${arg_SOURCES})
    set_target_properties(${name} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/tests/${name})
    if(TARGET wine_prestart)
        # Also when one program is built alone: see cmake/WinePrestart.cpp.
        add_dependencies(${name} wine_prestart)
    endif()
    target_link_libraries(${name} PRIVATE
        ${arg_LIBRARIES} terrascope_paths terrascope_warnings gtest gmock gtest_main)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 DISCOVERY_MODE PRE_TEST
        WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/tests/${name}
        PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS ${name})
    foreach(locale ${arg_LOCALES})
        gtest_discover_tests(${name} DISCOVERY_TIMEOUT 120 DISCOVERY_MODE PRE_TEST
            TEST_SUFFIX ".${locale}"
            TEST_LIST ${name}_${locale}
            WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/tests/${name}
            PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS ${name} ENVIRONMENT LC_ALL=${locale})
    endforeach()
    if(arg_UTF8)
        set(folder ${PROJECT_BINARY_DIR}/tests/${name}/utf8)
        configure_file(${PROJECT_SOURCE_DIR}/cmake/Utf8CodePage.manifest
            ${folder}/${name}.exe.manifest COPYONLY)
        add_custom_command(TARGET ${name} POST_BUILD
            COMMAND ${CMAKE_COMMAND} -E copy $<TARGET_FILE:${name}> ${folder} VERBATIM)
        add_test(NAME ${name}.utf8 WORKING_DIRECTORY ${folder}
            COMMAND ${CMAKE_CROSSCOMPILING_EMULATOR} ${folder}/${name}.exe)
        set_tests_properties(${name}.utf8 PROPERTIES TIMEOUT ${arg_TIMEOUT}
            LABELS ${name} ENVIRONMENT TERRASCOPE_TEST_CODE_PAGE=65001)
    endif()
endfunction()
