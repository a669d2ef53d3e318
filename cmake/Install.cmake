# Install rules, in four components:
#   daemon:         what a firmware image holds: corvaned, its init script as
#                   /etc/init.d/S80corvaned (an rcS runs S??*), and with the
#                   simulated camera its library (when linked shared) and the
#                   default device file where the binary looks for it;
#   daemon-systemd: corvaned's systemd unit;
#   daemon-doc:     corvaned's man page;
#   host:           corvane-sim, corvane-bus, corvane-web and corvaned-redis
#                   where built, the other device files, their man pages.
# Firmware build systems that install their own init files turn
# CORVANE_INIT_FILES off.
option(CORVANE_INIT_FILES "Install the init script and the systemd unit" ON)
set(CORVANE_SYSTEMD_UNIT_DIR ${CMAKE_INSTALL_PREFIX}/lib/systemd/system
  CACHE PATH "Where the systemd unit goes")

find_program(SCDOC scdoc)
if(SCDOC)
  set(man_default ON)
else()
  set(man_default OFF)
endif()
option(CORVANE_MAN_PAGES "Build and install the man pages (needs scdoc)" ${man_default})

install(TARGETS corvaned RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT daemon)
if(TARGET corvane-platform-sim)
  install(TARGETS corvane-platform-sim LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT daemon NAMELINK_SKIP)
endif()
# The simulated camera's default device, unless the build reads it from the
# checkout.
set(device_dir_installed NO)
if(NOT CORVANE_PLATFORM_LIBS AND NOT CORVANE_DEVICE_DIR STREQUAL "${CMAKE_SOURCE_DIR}/sim/devices")
  set(device_dir_installed YES)
  install(FILES ${CMAKE_SOURCE_DIR}/sim/devices/default.dev DESTINATION ${CORVANE_DEVICE_DIR}
    COMPONENT daemon)
endif()

# The init files name the daemon by its installed path.
function(corvane_install_init_file source destination name permissions component)
  file(READ ${CMAKE_SOURCE_DIR}/${source} text)
  string(REPLACE "/usr/sbin/" "${CMAKE_INSTALL_FULL_SBINDIR}/" text "${text}")
  file(WRITE ${CMAKE_BINARY_DIR}/init/${name} "${text}")
  install(FILES ${CMAKE_BINARY_DIR}/init/${name} DESTINATION ${destination}
    PERMISSIONS ${permissions} COMPONENT ${component})
endfunction()
if(CORVANE_INIT_FILES)
  corvane_install_init_file(packaging/buildroot/package/corvaned/S80corvaned
    ${CMAKE_INSTALL_FULL_SYSCONFDIR}/init.d S80corvaned
    "OWNER_READ;OWNER_WRITE;OWNER_EXECUTE;GROUP_READ;GROUP_EXECUTE;WORLD_READ;WORLD_EXECUTE" daemon)
  corvane_install_init_file(packaging/systemd/corvaned.service
    ${CORVANE_SYSTEMD_UNIT_DIR} corvaned.service "OWNER_READ;OWNER_WRITE;GROUP_READ;WORLD_READ"
    daemon-systemd)
endif()

# Every host program that is built; corvaned-redis is the daemon linked
# against the bus on Redis alone, as it would be against a vendor libnbus.
foreach(program corvane-sim corvane-bus corvane-web)
  if(TARGET ${program})
    install(TARGETS ${program} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT host)
  endif()
endforeach()
if(TARGET corvaned-redis)
  install(TARGETS corvaned-redis RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT host)
endif()
file(GLOB device_files ${CMAKE_SOURCE_DIR}/sim/devices/*.dev)
if(device_dir_installed AND CORVANE_DEVICE_DIR STREQUAL "${CMAKE_INSTALL_FULL_DATADIR}/corvaned/devices")
  list(REMOVE_ITEM device_files ${CMAKE_SOURCE_DIR}/sim/devices/default.dev)
endif()
install(FILES ${device_files} DESTINATION ${CMAKE_INSTALL_DATADIR}/corvaned/devices COMPONENT host)

# Man pages: docs/man/NAME.SECTION.scd, installed with the component of
# their program.
function(corvane_man_page name section component)
  set(page ${CMAKE_BINARY_DIR}/man/${name}.${section})
  add_custom_command(OUTPUT ${page}
    COMMAND ${SCDOC} < ${CMAKE_SOURCE_DIR}/docs/man/${name}.${section}.scd > ${page}
    DEPENDS ${CMAKE_SOURCE_DIR}/docs/man/${name}.${section}.scd VERBATIM)
  add_custom_target(man-${name} ALL DEPENDS ${page})
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endfunction()
if(CORVANE_MAN_PAGES)
  if(NOT SCDOC)
    message(FATAL_ERROR "CORVANE_MAN_PAGES needs scdoc (apt-get install scdoc), or turn it off")
  endif()
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/man)
  corvane_man_page(corvaned 8 daemon-doc)
  corvane_man_page(corvane-sim 1 host)
  if(TARGET corvane-bus AND EXISTS ${CMAKE_SOURCE_DIR}/docs/man/corvane-bus.1.scd)
    corvane_man_page(corvane-bus 1 host)
  endif()
  if(TARGET corvane-web)
    corvane_man_page(corvane-web 1 host)
  endif()
  if(TARGET corvaned-redis)
    corvane_man_page(corvaned-redis 8 host)
  endif()
endif()
