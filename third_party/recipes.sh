# recipes.sh, to be sourced: build_PACKAGE builds the sources in $source and installs them below $stage$prefix.
# A package without a recipe here is headers, and is copied whole.

# Configures, builds and installs with the package's own CMake files.
cmake_package() { # [CMake argument...]
  local arguments=(-G Ninja -S "$source" -B "$object" -DCMAKE_BUILD_TYPE=Release
    -DCMAKE_INSTALL_PREFIX="$prefix" -DCMAKE_INSTALL_LIBDIR=lib -DCMAKE_INSTALL_INCLUDEDIR=include
    -DBUILD_SHARED_LIBS=OFF -DBUILD_TESTING=OFF -DCMAKE_POSITION_INDEPENDENT_CODE=ON
    -DCMAKE_C_COMPILER_LAUNCHER= -DCMAKE_CXX_COMPILER_LAUNCHER=
    -DCMAKE_C_FLAGS="$flags" -DCMAKE_CXX_FLAGS="$flags")
  if [ "$platform" = windows ]; then
    # Without Wine as the emulator: a build of libraries runs nothing.
    arguments+=(-DCMAKE_TOOLCHAIN_FILE="$here/../cmake/mingw-w64.cmake" -DWINE_EXECUTABLE=)
  fi
  cmake "${arguments[@]}" "$@"
  DESTDIR=$stage ninja -C "$object" -j "$jobs" install
}

licence() { # FILE...
  mkdir -p "$stage$prefix/share/licences/$package"
  cp "$@" "$stage$prefix/share/licences/$package/"
}

build_googletest() {
  cmake_package -DBUILD_GMOCK=ON
  licence "$source/LICENSE"
}

build_benchmark() {
  local probes=()
  # Probes that want to run a program are answered for Windows: its C++ library has regex and a steady clock.
  [ "$platform" = windows ] && probes=(-DRUN_HAVE_STD_REGEX=0 -DRUN_HAVE_STEADY_CLOCK=0
    -DCOMPILE_HAVE_GNU_POSIX_REGEX=0 -DCOMPILE_HAVE_POSIX_REGEX=0)
  cmake_package -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_GTEST_TESTS=OFF -DBENCHMARK_ENABLE_WERROR=OFF \
    -DBENCHMARK_INSTALL_DOCS=OFF -DGIT_VERSION="${version%-*}" "${probes[@]}"
  licence "$source/LICENSE"
}

build_highway() {
  cmake_package -DHWY_ENABLE_TESTS=OFF -DHWY_ENABLE_EXAMPLES=OFF -DHWY_ENABLE_CONTRIB=OFF
  licence "$source/LICENSE"
}

build_fmtlib() {
  cmake_package -DFMT_TEST=OFF -DFMT_DOC=OFF
  licence "$source/LICENSE.rst"
}

build_libjsoncpp() {
  cmake_package -DBUILD_STATIC_LIBS=ON -DBUILD_OBJECT_LIBS=OFF -DJSONCPP_WITH_TESTS=OFF \
    -DJSONCPP_WITH_POST_BUILD_UNITTEST=OFF -DJSONCPP_WITH_PKGCONFIG_SUPPORT=OFF -DCMAKE_CXX_STANDARD=17
  licence "$source/LICENSE"
}

build_cli11() {
  cmake_package -DCLI11_BUILD_DOCS=OFF -DCLI11_BUILD_EXAMPLES=OFF -DCLI11_BUILD_TESTS=OFF
  licence "$source/LICENSE"
}

build_zeromq3() {
  # TCP is all that scanner and parent speak: neither encryption nor the platform's own transports are built.
  cmake_package -DBUILD_SHARED=OFF -DBUILD_STATIC=ON -DZMQ_BUILD_TESTS=OFF -DBUILD_TESTS=OFF -DWITH_PERF_TOOL=OFF \
    -DWITH_LIBSODIUM=OFF -DWITH_LIBBSD=OFF -DENABLE_CURVE=OFF -DENABLE_DRAFTS=OFF -DWITH_TLS=OFF -DWITH_DOCS=OFF -DZMQ_HAVE_IPC=OFF -DENABLE_CPACK=OFF
  licence "$source"/COPYING "$source"/COPYING.LESSER
}

# Headers, from a binary package.
build_headers() {
  mkdir -p "$stage$prefix/include"
  cp -a "$source/usr/include/." "$stage$prefix/include/"
  licence "$source/usr/share/doc/$package/copyright"
}
