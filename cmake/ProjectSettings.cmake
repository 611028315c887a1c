# What every target of the project shares: language level, warnings, where programs and DLLs go,
# and the compiler's run-time DLLs, which all modules of a process must share.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# DLLs carry no "lib" prefix: hosts load them by the names that the documentation gives.
set(CMAKE_SHARED_LIBRARY_PREFIX "")
set(CMAKE_SHARED_MODULE_PREFIX "")

set(TERRASCOPE_BIN_DIR ${PROJECT_BINARY_DIR}/bin)
set(TERRASCOPE_PLUGIN_SUBDIR Plugins/Quillmont/TileMapInfoProvider)
set(TERRASCOPE_DECODER_SUBDIR Plugins/Quillmont/ImageDecoder)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${TERRASCOPE_BIN_DIR})

# DWARF 4 is the newest that Wine's debugger reads.
add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:-gdwarf-4>")
add_compile_definitions(
    WINVER=0x0A00 _WIN32_WINNT=0x0A00 NOMINMAX
    # Its own modules are built narrow: strings are in the active code page.
    _MBCS)

# Link this to each target of our own. Dependencies come in as SYSTEM and are not held to it.
add_library(terrascope_warnings INTERFACE)
target_compile_options(terrascope_warnings INTERFACE
    "$<$<COMPILE_LANGUAGE:CXX>:-Wall;-Wextra;-Wpedantic;-Wconversion;-Wshadow;-Werror>")
target_compile_definitions(terrascope_warnings INTERFACE
    "$<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>")

# Includes are written from the repository root; the installed tree keeps the same paths.
add_library(terrascope_paths INTERFACE)
target_include_directories(terrascope_paths INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>)

# Copies the compiler's run-time DLLs beside our programs, stripped (libstdc++ is 24 MB otherwise).
set(TERRASCOPE_RUNTIME_DLLS libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
function(terrascope_copy_runtime_dlls)
    foreach(dll ${TERRASCOPE_RUNTIME_DLLS})
        if(EXISTS ${TERRASCOPE_BIN_DIR}/${dll})
            continue()
        endif()
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT EXISTS ${path})
            get_filename_component(compiler_dir ${CMAKE_CXX_COMPILER} DIRECTORY)
            find_file(runtime_${dll} ${dll} NO_CMAKE_FIND_ROOT_PATH
                HINTS ${compiler_dir} /usr/x86_64-w64-mingw32/lib)
            set(path ${runtime_${dll}})
        endif()
        if(NOT EXISTS ${path})
            message(FATAL_ERROR "The compiler's run-time library ${dll} was not found.")
        endif()
        file(MAKE_DIRECTORY ${TERRASCOPE_BIN_DIR})
        execute_process(COMMAND ${CMAKE_STRIP} -o ${TERRASCOPE_BIN_DIR}/${dll} ${path}
            COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
endfunction()
terrascope_copy_runtime_dlls()

# terrascope_header_library(TARGET HEADER ...): lets a target include header-only libraries, each
# named by one of its headers ("fmt/core.h").
#
# In a cross build they are the build machine's, and its include folder itself must stay out: its
# system headers would come in. There, each library is linked into a folder of its own.
function(terrascope_header_library target)
    set(isolated ${PROJECT_BINARY_DIR}/header-libraries)
    foreach(header ${ARGN})
        get_filename_component(name ${header} DIRECTORY)
        set(variable TERRASCOPE_${name}_INCLUDE_DIR)
        if(CMAKE_CROSSCOMPILING)
            find_path(${variable} ${header} PATHS /usr/local/include /usr/include
                NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
        else()
            find_path(${variable} ${header})
        endif()
        if(NOT ${variable})
            message(FATAL_ERROR "The header ${header} was not found: run tools/setup.sh, or set "
                "${variable} to the folder above ${name}.")
        endif()
        set(folder ${${variable}})
        if(CMAKE_CROSSCOMPILING)
            file(MAKE_DIRECTORY ${isolated})
            file(CREATE_LINK ${folder}/${name} ${isolated}/${name} SYMBOLIC)
            set(folder ${isolated})
        endif()
        target_include_directories(${target} SYSTEM PRIVATE ${folder})
    endforeach()
endfunction()

# terrascope_version(TARGET "description"): a version resource with the project's version.
function(terrascope_version target description)
    set(TARGET_NAME ${target})
    set(TARGET_DESCRIPTION "${description}")
    get_target_property(type ${target} TYPE)
    if(type STREQUAL "EXECUTABLE")
        set(TARGET_FILE ${target}.exe)
        set(TARGET_FILE_TYPE VFT_APP)
    else()
        set(TARGET_FILE ${target}.dll)
        set(TARGET_FILE_TYPE VFT_DLL)
    endif()
    configure_file(${PROJECT_SOURCE_DIR}/packaging/version.rc.in ${target}_version.rc @ONLY)
    target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
endfunction()
