# Hardening of the release binaries: PIE, full RELRO, stack protector,
# _FORTIFY_SOURCE=3 and a non-executable stack. scripts/check-hardening.sh
# checks the result on the ARM binary.
option(CORVANE_HARDEN "Build hardened binaries (PIE, RELRO/BIND_NOW, stack protector, FORTIFY)" ON)

# The daemon needs no C++ run-time library: with this on, corvaned is linked
# so that neither libstdc++ nor libgcc_s is needed at run time, and unused
# sections are dropped. On by default for the device (cross) build.
if(CMAKE_CROSSCOMPILING)
  set(no_runtime_default ON)
else()
  set(no_runtime_default OFF)
endif()
option(CORVANE_NO_CXX_RUNTIME "Link corvaned with no libstdc++ or libgcc_s at run time"
  ${no_runtime_default})

if(CORVANE_HARDEN AND NOT CORVANE_SANITIZE)
  include(CheckPIESupported)
  check_pie_supported()
  set(CMAKE_POSITION_INDEPENDENT_CODE ON)
  add_compile_options(-fstack-protector-strong)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    # FORTIFY needs the optimiser; -U first so that a distribution's own
    # -D_FORTIFY_SOURCE=2 in CPPFLAGS is replaced, not redefined.
    add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
  endif()
  add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
endif()
