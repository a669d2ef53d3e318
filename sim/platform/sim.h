// Control side of the simulated camera: what corvane-sim, the demo console
// and the unit tests use to set up the device, play the client and watch
// what the daemon does. The daemon itself sees only the platform headers.
#ifndef SIM_PLATFORM_SIM_H
#define SIM_PLATFORM_SIM_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sim {

// ---- device ----
// Loads a device file (see docs/sim.md); later files override earlier ones.
bool load_device(const std::string &path, std::string *error);
// The device loaded when none is named: CORVANE_SIM_DEVICE, else the
// build's default (null without one).
const char *default_device();
// Platform parameter ("@name=value" of the device file).
std::string param(const std::string &name, const std::string &otherwise = "");
long param_number(const std::string &name, long otherwise);
void set_param(const std::string &name, const std::string &value);
// Forgets every node, listener, parameter and fault (unit tests).
void reset();

// ---- bus ----
// Chooses the node store: "sim" (in this process, the default) or a Redis
// address ("redis:/path", "redis://HOST:PORT"), whose key space is then
// cleared. Call before loading devices and before start().
bool use_bus(const std::string &address, std::string *error);
// Starts the bus thread; the calling thread counts as the daemon's main thread.
void start();
// Stops the bus thread after the queue has drained.
void stop();
// A client's write: stored, delivered to the listeners, returns once idle.
void client_write(const std::string &name, const std::string &value);
// A device-side change: stored, no notification.
void device_write(const std::string &name, const std::string &value);
void remove_node(const std::string &name);
std::optional<std::string> node(const std::string &name);
std::map<std::string, std::string> nodes_with_prefix(const std::string &prefix);
// A write by the simulator itself (the head's state under "sim."): stored
// and delivered, but neither traced nor part of any record.
void publish(const std::string &name, const std::string &value);
// Who changed a node, for viewers.
enum class Writer { daemon, client, device, simulator };
const char *writer_name(Writer writer);
// Called on every change of the store, in order, with the bus locked: a
// watcher copies what it needs and returns; it must not use the bus.
using WriteWatcher = std::function<void(const std::string &name, const std::string &value, Writer writer)>;
void watch_writes(WriteWatcher watcher);
// Reads of `name` fail with `code` (0 clears the fault).
void set_read_fault(const std::string &name, int code);
// Runs `work` on the bus thread, as a handler would run, and waits until idle.
void run_on_bus(const std::function<void()> &work);
void wait_idle();
int listener_count(const std::string &name);
// Every registration as (name, routine), in name order.
std::vector<std::pair<std::string, const void *>> listener_routines();
// Notifications handed to listeners since the last reset.
long deliveries();
// The whole node store, and putting it back (no notification).
std::map<std::string, std::string> all_nodes();
void restore_nodes(const std::map<std::string, std::string> &nodes);
// Registrations made since the last reset, over all names.
long listen_calls();
bool released();
// Forgets every registration and takes back a release, so that the daemon
// can start again on the same store (the start-up fuzz target).
void reopen_bus();

// ---- what the daemon did ----
struct Record {
    std::vector<std::pair<std::string, std::string>> writes;  // daemon writes in order
    std::string log;                                          // standard output
    std::vector<std::string> trace;                           // trace lines
    std::vector<std::string> reads;                           // nodes the daemon read, in order
};
// While on, the simulator keeps the record of what the daemon does, for
// take_record. Off unless switched on (a script, the console, a test): a
// daemon on the simulated camera keeps none, however long it runs. While off
// and no trace file is open, client and daemon writes and registrations
// make no trace line either: the bus without the simulator's bookkeeping.
void set_recording(bool on);
// Starts a new record; returns the one that ends.
Record take_record();
// Routes standard output through the simulator so it is recorded as well.
void capture_stdout();
// Whether captured output also reaches the terminal (on by default); the
// console holds the start-up's output back and shows a summary instead.
void set_stdout_echo(bool on);
void open_trace(const std::string &path);
void trace(const std::string &line, bool poll = false);
// Called after every focus value read with the sensor and its reads so far
// since the head was set up (corvane-sim's af-clear-after).
void set_focus_read_hook(std::function<void(int channel, long reads)> hook);
long focus_reads(int channel);
// Names routines in trace lines (set by corvane-sim).
void set_routine_namer(std::function<std::string(const void *)> namer);
std::string routine_name(const void *routine);
std::string escape(const std::string &text);

// ---- time and lifecycle ----
// Real time is divided by this: 1 (real time) unless set; corvane-sim sets
// 100 without --realtime, the unit tests 100.
void set_time_divisor(long divisor);
long time_divisor();
// Start-up is finished once the main loop sleeps for the first time or the
// daemon returns.
void wait_started();
void mark_finished();
bool finished();
long main_loop_sleeps();
// Lockstep: the main loop stops at each sleep until wait_main_loop_sleeps
// grants further ticks, so a script can read and set the context between
// two ticks. Switching it on waits until the loop is parked.
void set_lockstep(bool on);
void wait_main_loop_sleeps(long count);

// ---- measuring (corvane-bench) ----
// One bus call of the daemon, as it made it.
struct BusCall {
    enum Kind { get, set, listen } kind;
    std::string name;
    std::string value;  // set: the value written
    int size = 0;       // get: the buffer size
};
// Appends every nbus_get, nbus_set and nbus_listen of the daemon to `calls`
// from now on; null stops.
void record_bus_calls(std::vector<BusCall> *calls);

// Runs `callback` once on the main thread when start-up has finished, just
// before the main loop's first sleep.
void on_started(std::function<void()> callback);

} // namespace sim

#endif
