# Third-party code comes from Debian packages only.
#
# Boost is header-only for our purposes. The cross compiler must not see the whole of
# /usr/include (glibc headers would shadow its own), so it gets a folder holding a link
# to the boost headers alone.
set(ZELVO_BOOST_ROOT "/usr/include" CACHE PATH "Folder that holds the boost/ headers")
if(NOT EXISTS "${ZELVO_BOOST_ROOT}/boost/version.hpp")
  message(FATAL_ERROR "Boost headers not found under ${ZELVO_BOOST_ROOT}; run scripts/setup.sh")
endif()
add_library(zelvo_boost INTERFACE)
if(CMAKE_CROSSCOMPILING)
  set(_boost_link_dir "${CMAKE_BINARY_DIR}/boost-headers")
  file(MAKE_DIRECTORY "${_boost_link_dir}")
  file(CREATE_LINK "${ZELVO_BOOST_ROOT}/boost" "${_boost_link_dir}/boost" SYMBOLIC)
  target_include_directories(zelvo_boost SYSTEM INTERFACE "${_boost_link_dir}")
  # Boost's config would otherwise ask for auto-linking and threading pieces we do not use.
  target_compile_definitions(zelvo_boost INTERFACE BOOST_ALL_NO_LIB BOOST_USE_WINDOWS_H)
else()
  target_include_directories(zelvo_boost SYSTEM INTERFACE "${ZELVO_BOOST_ROOT}")
endif()

if(NOT WIN32)
  find_package(OpenSSL REQUIRED COMPONENTS Crypto)
  find_package(Threads REQUIRED)
endif()

if(ZELVO_BUILD_TESTS)
  if(CMAKE_CROSSCOMPILING)
    # Debian ships GoogleTest as source; build it with the cross compiler.
    set(gtest_force_shared_crt OFF CACHE BOOL "" FORCE)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
    add_subdirectory(/usr/src/googletest "${CMAKE_BINARY_DIR}/googletest" EXCLUDE_FROM_ALL)
    # GoogleTest's own build defines the GTest:: names already.
    foreach(_t gtest gtest_main gmock)
      if(NOT TARGET GTest::${_t})
        add_library(GTest::${_t} ALIAS ${_t})
      endif()
    endforeach()
  else()
    find_package(GTest REQUIRED)
  endif()
  include(GoogleTest)
endif()
