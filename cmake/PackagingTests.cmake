# Tests of what reaches a device: the programs' --help/--version, the
# install rules, the init script, the systemd unit, the Debian packages, the
# release binary's hardening and the device build booted in a firmware
# image. The sanitizer build runs only the entry
# tests, the cross build adds the hardening check, the host build the rest.
set(PACKAGING_TESTS ${CMAKE_SOURCE_DIR}/tests/packaging)

foreach(program corvaned corvane-sim corvane-bus)
  if(NOT TARGET ${program})
    continue()
  endif()
  add_test(NAME packaging/entry-${program}
    COMMAND ${PACKAGING_TESTS}/entry.sh ${program} ${PROJECT_VERSION} ${CMAKE_SOURCE_DIR}
            ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${program}>)
endforeach()

if(CORVANE_SANITIZE)
  return()
endif()

if(CMAKE_CROSSCOMPILING)
  # The device binary: hardened, no C++ run-time library, and smaller than
  # it was before either.
  set(hardening_options)
  if(CORVANE_NO_CXX_RUNTIME)
    set(hardening_options --max-size 182308)
    if(TARGET corvane-platform-sim)
      list(APPEND hardening_options --needed libcorvane-platform-sim.so.${PROJECT_VERSION_MAJOR})
    endif()
  else()
    set(hardening_options --needed libstdc++.so.6 --needed libgcc_s.so.1)
  endif()
  add_test(NAME packaging/hardening
    COMMAND ${PACKAGING_TESTS}/hardening.sh ${CMAKE_SOURCE_DIR} ${CMAKE_CXX_COMPILER}
            $<TARGET_FILE:corvaned> ${hardening_options})
  set_tests_properties(packaging/hardening PROPERTIES ENVIRONMENT "STRIP=${CMAKE_STRIP}")
  return()
endif()

add_test(NAME packaging/install
  COMMAND ${PACKAGING_TESTS}/install.sh ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR}
          ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_SYSCONFDIR} ${CORVANE_SYSTEMD_UNIT_DIR}
          ${CORVANE_MAN_PAGES} ${PROJECT_VERSION})
add_test(NAME packaging/install-deps
  COMMAND ${PACKAGING_TESTS}/install-deps.sh ${CMAKE_SOURCE_DIR})
add_test(NAME packaging/init-script
  COMMAND ${PACKAGING_TESTS}/init-script.sh
          ${CMAKE_SOURCE_DIR}/packaging/buildroot/package/corvaned/S80corvaned $<TARGET_FILE:corvaned>)
add_test(NAME packaging/systemd-unit
  COMMAND ${PACKAGING_TESTS}/systemd-unit.sh
          ${CMAKE_SOURCE_DIR}/packaging/systemd/corvaned.service $<TARGET_FILE:corvaned> 1.7)
add_test(NAME packaging/log-secrets
  COMMAND ${PACKAGING_TESTS}/log-secrets.sh
          ${CMAKE_SOURCE_DIR}/packaging/buildroot/package/corvaned/S80corvaned
          ${CMAKE_SOURCE_DIR}/packaging/systemd/corvaned.service $<TARGET_FILE:corvaned>)
# Both Debian builds from a copy under the build directory; minutes, so
# alone on the machine.
add_test(NAME packaging/debian
  COMMAND ${CMAKE_SOURCE_DIR}/scripts/debian-packages.sh ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR}/debian-packages armhf)
set_tests_properties(packaging/debian PROPERTIES TIMEOUT 900 RUN_SERIAL ON FIXTURES_SETUP debian-packages)
# The packages of this machine, extracted, on a private redis-server.
if(CORVANE_REDIS_BUS)
  add_test(NAME packaging/deb-bus
    COMMAND ${PACKAGING_TESTS}/deb-bus.sh ${CMAKE_BINARY_DIR}/debian-packages/native)
  set_tests_properties(packaging/deb-bus PROPERTIES FIXTURES_REQUIRED debian-packages LABELS packaging)
endif()
set_tests_properties(packaging/install packaging/install-deps packaging/init-script
  packaging/systemd-unit packaging/debian PROPERTIES LABELS packaging)

# The device build booted in a BusyBox firmware image under qemu-system-arm:
# needs the emulator, the cross compiler and the armhf kernel and BusyBox
# packages that scripts/install-deps.sh fetches. Two boots of a few seconds
# each, alone on the machine so that a boot is not starved.
set(CORVANE_IMAGE_PACKAGES ${CMAKE_SOURCE_DIR}/build/image-packages
  CACHE PATH "Where scripts/install-deps.sh puts the armhf kernel and BusyBox packages")
find_program(QEMU_SYSTEM_ARM qemu-system-arm)
find_program(ARM_CXX arm-linux-gnueabihf-g++)
find_program(CPIO cpio)
if(QEMU_SYSTEM_ARM AND ARM_CXX AND CPIO)
  add_test(NAME image/boot
    COMMAND ${CMAKE_SOURCE_DIR}/tests/image/boot.sh ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR}
            ${CORVANE_IMAGE_PACKAGES})
  set_tests_properties(image/boot PROPERTIES TIMEOUT 900 RUN_SERIAL ON LABELS packaging)
endif()
