# The bus on Redis (redisbus/): a host client library on Debian's hiredis,
# platform/nbus.h on it, the corvane-bus tool, and a Redis node store for the
# simulated camera. Off where hiredis is missing (the ARM cross build).
find_path(HIREDIS_INCLUDE_DIR hiredis/hiredis.h)
find_library(HIREDIS_LIBRARY hiredis)
if(HIREDIS_INCLUDE_DIR AND HIREDIS_LIBRARY)
  set(redis_bus_default ON)
else()
  set(redis_bus_default OFF)
endif()
option(CORVANE_REDIS_BUS "Build the bus on Redis (needs hiredis)" ${redis_bus_default})

if(CORVANE_REDIS_BUS)
  if(NOT (HIREDIS_INCLUDE_DIR AND HIREDIS_LIBRARY))
    message(FATAL_ERROR "CORVANE_REDIS_BUS needs hiredis (Debian: libhiredis-dev)")
  endif()
  # The tools' client API (redisbus/client.h) and this process's bus.
  add_library(corvane_redis_client STATIC
    redisbus/client.cpp redisbus/connection.cpp redisbus/reader.cpp redisbus/reply.cpp
    redisbus/process_bus.cpp)
  target_include_directories(corvane_redis_client PUBLIC ${CMAKE_SOURCE_DIR} ${HIREDIS_INCLUDE_DIR})
  target_link_libraries(corvane_redis_client PUBLIC ${HIREDIS_LIBRARY} Threads::Threads)

  # platform/nbus.h on Redis, as a vendor's libnbus would be linked.
  add_library(corvane_nbus_redis STATIC redisbus/nbus.cpp)
  target_link_libraries(corvane_nbus_redis PUBLIC corvane_redis_client)

  find_library(NETTLE_LIBRARY nettle)
  find_path(NETTLE_INCLUDE_DIR nettle/sha2.h)
  if(NOT (NETTLE_LIBRARY AND NETTLE_INCLUDE_DIR))
    message(FATAL_ERROR "corvane-bus acl needs nettle (Debian: nettle-dev)")
  endif()
  add_executable(corvane-bus tools/corvane-bus.cpp tools/bus_console.cpp tools/bus_acl.cpp)
  target_include_directories(corvane-bus PRIVATE ${NETTLE_INCLUDE_DIR})
  target_link_libraries(corvane-bus PRIVATE corvaned_core corvane_platform_sim corvane_redis_client ${NETTLE_LIBRARY})

  target_compile_definitions(corvane_redis_client PUBLIC CORVANE_REDIS_BUS)
  target_sources(corvane_platform_sim PRIVATE ${SIM_REDIS_BACKEND_SOURCE})
  target_link_libraries(corvane_platform_sim PUBLIC corvane_redis_client)
endif()

# Measurements for make bench (bench/sections/20-redis-bus.sh).
if(CORVANE_REDIS_BUS AND CORVANE_BENCH)
  add_executable(corvane-bus-bench tools/bus_bench.cpp)
  target_link_libraries(corvane-bus-bench PRIVATE corvaned_core corvane_platform_sim)
endif()

# corvaned linked against the bus on Redis alone, as it would be against a
# vendor libnbus; the other platform libraries from the simulated camera.
if(CORVANE_REDIS_BUS)
  set(SIM_BESIDE_BUS_SOURCES ${SIM_PLATFORM_SOURCES})
  list(FILTER SIM_BESIDE_BUS_SOURCES EXCLUDE REGEX "/(bus|bus_backends|local_store)\\.cpp$")
  add_library(corvane_platform_sim_beside_bus STATIC ${SIM_BESIDE_BUS_SOURCES} sim/beside_bus/bus_absent.cpp)
  target_include_directories(corvane_platform_sim_beside_bus PUBLIC ${CMAKE_SOURCE_DIR})
  target_compile_definitions(corvane_platform_sim_beside_bus PUBLIC
    CORVANE_DEFAULT_DEVICE="${CORVANE_DEVICE_DIR}/default.dev")
  add_executable(corvaned-redis frame/entry.cpp)
  target_link_libraries(corvaned-redis PRIVATE corvaned_core corvane_nbus_redis corvane_platform_sim_beside_bus)
endif()
