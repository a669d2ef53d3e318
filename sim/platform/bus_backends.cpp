// The table of bus backends (bus_backends.h). A backend left out of this
// build stands here as a stub that says so.
#include "sim/platform/bus_backends.h"

#include <iterator>

namespace sim {

namespace {

std::unique_ptr<NodeStore> local_store(const std::string &, bool, NodeStore::Sink sink, std::string *)
{
    return make_local_store(std::move(sink));
}

std::unique_ptr<BusClient> no_client(const std::string &, std::string *error)
{
    *error = "the bus is the in-process simulated one (CORVANE_BUS unset or sim): no other process can reach it";
    return nullptr;
}

} // namespace

#ifdef CORVANE_REDIS_BUS

// redis_store.cpp
std::unique_ptr<NodeStore> make_redis_store(const std::string &address, bool wait, NodeStore::Sink sink,
                                            std::string *error);
std::unique_ptr<BusClient> connect_redis_client(const std::string &address, std::string *error);

#else

std::unique_ptr<NodeStore> make_redis_store(const std::string &address, bool, NodeStore::Sink, std::string *error)
{
    *error = "bus address '" + address + "': this build has no Redis support";
    return nullptr;
}

std::unique_ptr<BusClient> connect_redis_client(const std::string &, std::string *error)
{
    *error = "this build has no bus on Redis";
    return nullptr;
}

#endif

namespace {

struct Scheme {
    const char *text;
    bool whole;  // the address is the scheme itself
    BusBackend backend;
};

// The last row also takes every address no scheme claims.
constexpr Scheme kSchemes[] = {
    {"sim", true, {true, local_store, no_client}},
    {"redis://", false, {false, make_redis_store, connect_redis_client}},
    {"redis:", false, {false, make_redis_store, connect_redis_client}},
};

} // namespace

const BusBackend &bus_backend(const std::string &address)
{
    for (const Scheme &scheme : kSchemes)
        if (scheme.whole ? address == scheme.text : address.rfind(scheme.text, 0) == 0)
            return scheme.backend;
    return std::end(kSchemes)[-1].backend;
}

} // namespace sim
