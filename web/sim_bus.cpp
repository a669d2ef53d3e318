#include "web/sim_bus.h"

#include "frame/main.h"
#include "sim/driver/routines.h"
#include "sim/driver/view.h"
#include "sim/platform/sim.h"

namespace {

class SimBus : public WebBus {
public:
    std::string describe() const override { return "in-process simulated camera"; }
    std::optional<std::string> get(const std::string &name) override { return sim::node(name); }
    std::vector<std::pair<std::string, std::string>> dump(const std::string &prefix) override
    {
        auto nodes = sim::nodes_with_prefix(prefix);
        return {nodes.begin(), nodes.end()};
    }
    std::string set(const std::string &name, const std::string &value) override
    {
        sim::client_write(name, value);
        return "";
    }
    void watch(std::function<void(const BusChange &)> on_change) override
    {
        sim::watch_writes([on_change](const std::string &name, const std::string &value, sim::Writer writer) {
            on_change({name, value, sim::writer_name(writer)});
        });
    }
    // The daemon runs in this process, from before the page answers.
    BusState state() override { return {true, true, "corvaned running in this process"}; }
    std::vector<BusChange> recent(size_t) override { return {}; }
};

constexpr long kPaceMicroseconds = 2000;
constexpr long kPublishMilliseconds = 50;

} // namespace

bool load_devices(const std::vector<std::string> &devices, std::string *error)
{
    std::vector<std::string> files = devices;
    if (files.empty())
        files.push_back(CORVANE_DEFAULT_DEVICE);
    for (const std::string &file : files)
        if (!sim::load_device(file, error))
            return false;
    return true;
}

std::unique_ptr<WebBus> make_sim_bus()
{
    sim::set_time_divisor(1);
    sim::set_routine_namer(name_of_routine);
    return std::make_unique<SimBus>();
}

int run_daemon()
{
    sim::start();
    start_head_view(kPaceMicroseconds, kPublishMilliseconds, "sim");
    int status = corvaned::main();
    sim::mark_finished();
    sim::stop();
    return status;
}
