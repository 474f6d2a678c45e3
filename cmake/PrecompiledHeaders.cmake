# Precompiled headers for the outside libraries whose headers cost the most to compile.
#
#   tpc_precompile(<target> <kind>...)
#
# Kinds: cli11 (CLI11), json (nlohmann-json), gtest (GoogleTest), qt (the Qt Widgets classes the
# desktop application uses). Only the target's sources that include the headers of every kind named,
# directly or through the project's own headers, take the precompiled header; the others compile as
# before (CLI11 alone adds a megabyte of code to a file that gets it without using it).
#
# With clang, the many targets asking for gtest, or for qt, share one precompiled header: a small
# object library of its own, tpc_pch_<kind>, makes it once and the targets take it with REUSE_FROM.
# That library links what the kind needs, so it is compiled with the same flags, include folders
# and position independence as the targets; the macros a target defines beyond it are accepted.
# gcc refuses a precompiled header made with other macros, so with gcc each target makes its own,
# as does every target asking for cli11 or json (one target each).
#
# Measured (clang, -O0, ASan; seconds of CPU for one file without and with): a CLI11 command file
# 6.6 / 4.0 (the header takes 4.5 to make), a GoogleTest file 2.55 / 1.46 (2.4), a command-line
# test 5.2 / 3.2 (3.8), a Qt page 4.0 / 2.0 (3.4): some 200 s of CPU less over the sanitizer build.
#
# TPC_PCH=OFF turns every precompiled header off (for example to check that each file includes
# what it uses).
option(TPC_PCH "Precompile the headers of CLI11, nlohmann-json, GoogleTest and Qt" ON)

set(TPC_PCH_HEADERS_cli11 <CLI/CLI.hpp>)
set(TPC_PCH_LIBRARIES_cli11 CLI11::CLI11)
set(TPC_PCH_PATTERN_cli11 "<CLI/")
set(TPC_PCH_HEADERS_json <nlohmann/json.hpp>)
set(TPC_PCH_LIBRARIES_json nlohmann_json::nlohmann_json)
set(TPC_PCH_PATTERN_json "<nlohmann/")
set(TPC_PCH_HEADERS_gtest <gtest/gtest.h>)
set(TPC_PCH_LIBRARIES_gtest GTest::gtest)
set(TPC_PCH_PATTERN_gtest "<gtest/")
set(TPC_PCH_HEADERS_qt
    <QAbstractItemView> <QAction> <QApplication> <QComboBox> <QHBoxLayout> <QIcon> <QLabel>
    <QMenu> <QObject> <QPainter> <QPointer> <QPushButton> <QString> <QStringList> <QStyle>
    <QTableView> <QVBoxLayout> <QWidget>)
set(TPC_PCH_LIBRARIES_qt Qt6::Widgets)
set(TPC_PCH_PATTERN_qt "<Q[A-Za-z]+>")
# The kinds whose header compiles to little code of its own. The library owning a shared header
# compiles one empty file with it; CLI11's header alone defines some 3 s of objects (its validators)
# in every file, so a set holding cli11 or json is made by the one target using it.
set(TPC_PCH_SHARED_KINDS gtest qt)

# Sets `result` to TRUE when `file` includes a header matching `pattern`, itself or through the
# project's own headers (quoted includes found beside the file, under src/ or under tests/).
# Answers are kept for the rest of the configure run; a header being scanned counts as FALSE, which
# ends include cycles.
function(_tpc_pch_includes file pattern result)
    string(MD5 key "${file}|${pattern}")
    get_property(known GLOBAL PROPERTY TPC_PCH_SCAN_${key} SET)
    if(known)
        get_property(answer GLOBAL PROPERTY TPC_PCH_SCAN_${key})
        set(${result} ${answer} PARENT_SCOPE)
        return()
    endif()
    set_property(GLOBAL PROPERTY TPC_PCH_SCAN_${key} FALSE)
    set(answer FALSE)
    if(EXISTS ${file})
        file(STRINGS ${file} lines REGEX "^[ \t]*#[ \t]*include[ \t]*[<\"]")
        get_filename_component(dir ${file} DIRECTORY)
        foreach(line IN LISTS lines)
            if(line MATCHES "${pattern}")
                set(answer TRUE)
                break()
            endif()
            if(line MATCHES "\"([^\"]+)\"")
                set(name ${CMAKE_MATCH_1})
                foreach(base ${dir} ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
                    if(EXISTS ${base}/${name} AND NOT IS_DIRECTORY ${base}/${name})
                        _tpc_pch_includes(${base}/${name} "${pattern}" found)
                        if(found)
                            set(answer TRUE)
                        endif()
                        break()
                    endif()
                endforeach()
                if(answer)
                    break()
                endif()
            endif()
        endforeach()
    endif()
    set_property(GLOBAL PROPERTY TPC_PCH_SCAN_${key} ${answer})
    set(${result} ${answer} PARENT_SCOPE)
endfunction()

# ccache caches a compilation that uses a precompiled header only when told to overlook the macros
# and timestamps the header carries (and clang leaves its timestamp out of the header).
function(_tpc_pch_ccache target)
    get_target_property(launcher ${target} CXX_COMPILER_LAUNCHER)
    if(NOT launcher OR NOT launcher MATCHES "ccache" OR launcher MATCHES "CCACHE_SLOPPINESS")
        return()
    endif()
    set(sloppiness pch_defines,time_macros,include_file_mtime,include_file_ctime)
    set_target_properties(${target} PROPERTIES CXX_COMPILER_LAUNCHER
        "${CMAKE_COMMAND};-E;env;CCACHE_SLOPPINESS=${sloppiness};${launcher}")
endfunction()

function(tpc_precompile target)
    if(NOT TPC_PCH OR NOT TARGET ${target})
        return()
    endif()
    set(kinds ${ARGN})
    if(NOT kinds)
        message(FATAL_ERROR "tpc_precompile(${target}): name at least one kind")
    endif()
    list(REMOVE_DUPLICATES kinds)
    list(SORT kinds)
    set(headers "")
    set(libraries "")
    foreach(kind ${kinds})
        if(NOT DEFINED TPC_PCH_HEADERS_${kind})
            message(FATAL_ERROR "tpc_precompile(${target}): unknown kind '${kind}'")
        endif()
        foreach(library ${TPC_PCH_LIBRARIES_${kind}})
            if(NOT TARGET ${library})
                return() # not part of this configuration
            endif()
        endforeach()
        list(APPEND headers ${TPC_PCH_HEADERS_${kind}})
        list(APPEND libraries ${TPC_PCH_LIBRARIES_${kind}})
    endforeach()

    # gcc saves little on a CLI11 file (6.3 s to 5.1 s) and takes 6.3 s to make the header, so
    # with gcc those files compile without one.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND "cli11" IN_LIST kinds)
        return()
    endif()

    # The sources that use every kind; the rest skip the precompiled header.
    get_target_property(sources ${target} SOURCES)
    get_target_property(source_dir ${target} SOURCE_DIR)
    set(users 0)
    set(skipped "")
    foreach(source ${sources})
        if(source MATCHES "^\\$<" OR NOT source MATCHES "\\.(cpp|cc|cxx)$")
            continue()
        endif()
        if(IS_ABSOLUTE ${source})
            set(path ${source})
        else()
            set(path ${source_dir}/${source})
        endif()
        set(uses TRUE)
        foreach(kind ${kinds})
            _tpc_pch_includes(${path} "${TPC_PCH_PATTERN_${kind}}" found)
            if(NOT found)
                set(uses FALSE)
                break()
            endif()
        endforeach()
        if(uses)
            math(EXPR users "${users} + 1")
        else()
            list(APPEND skipped ${source})
        endif()
    endforeach()
    if(users EQUAL 0)
        return()
    endif()
    if(skipped)
        set_source_files_properties(${skipped} TARGET_DIRECTORY ${target}
                                    PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    endif()

    set(shared TRUE)
    foreach(kind ${kinds})
        if(NOT kind IN_LIST TPC_PCH_SHARED_KINDS)
            set(shared FALSE)
        endif()
    endforeach()
    if(NOT shared OR NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        target_precompile_headers(${target} PRIVATE ${headers})
        if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
            target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
        endif()
        _tpc_pch_ccache(${target})
        return()
    endif()
    list(JOIN kinds "_" key)
    set(owner tpc_pch_${key})
    if(NOT TARGET ${owner})
        set(source ${PROJECT_BINARY_DIR}/pch/${owner}.cpp)
        if(NOT EXISTS ${source})
            file(WRITE ${source} "// Makes the precompiled header of: ${kinds}.\n")
        endif()
        add_library(${owner} OBJECT ${source})
        set_target_properties(${owner} PROPERTIES AUTOMOC OFF AUTORCC OFF AUTOUIC OFF)
        target_link_libraries(${owner} PRIVATE ${libraries})
        target_precompile_headers(${owner} PRIVATE ${headers})
        target_compile_options(${owner} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
        _tpc_pch_ccache(${owner})
    endif()
    target_precompile_headers(${target} REUSE_FROM ${owner})
    _tpc_pch_ccache(${target})
endfunction()
