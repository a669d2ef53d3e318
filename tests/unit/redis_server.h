// A private redis-server on a unix socket in a temporary directory, for the
// tests of the bus on Redis. Started on first use, killed at exit.
#ifndef TESTS_UNIT_REDIS_SERVER_H
#define TESTS_UNIT_REDIS_SERVER_H

#ifdef CORVANE_REDIS_BUS

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "redisbus/client.h"

class RedisServer {
public:
    static RedisServer &instance()
    {
        static RedisServer server;
        return server;
    }

    // "redis:/tmp/.../redis.sock", the server started if it is not running;
    // empty when it cannot be started.
    std::string address()
    {
        if (pid_ <= 0)
            start();
        return pid_ > 0 ? "redis:" + socket_ : "";
    }

    // SIGSTOP and SIGCONT: a server that takes its time to answer.
    void pause_server() { kill(pid_, SIGSTOP); }
    void resume_server() { kill(pid_, SIGCONT); }

    void kill_server()
    {
        if (pid_ <= 0)
            return;
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = 0;
    }

private:
    RedisServer() = default;
    ~RedisServer()
    {
        kill_server();
        if (!directory_.empty()) {
            unlink(socket_.c_str());
            rmdir(directory_.c_str());
        }
    }

    void start()
    {
        if (directory_.empty()) {
            char pattern[] = "/tmp/corvane-unit-redis.XXXXXX";
            if (!mkdtemp(pattern))
                return;
            directory_ = pattern;
            socket_ = directory_ + "/redis.sock";
        }
        pid_ = fork();
        if (pid_ == 0) {
            // Dies with the test process and keeps none of its descriptors:
            // a crashed test must not leave ctest waiting on an open pipe.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            int null = open("/dev/null", O_RDWR);
            dup2(null, STDIN_FILENO);
            dup2(null, STDOUT_FILENO);
            dup2(null, STDERR_FILENO);
            execlp("redis-server", "redis-server", "--port", "0", "--unixsocket", socket_.c_str(), "--save", "",
                   "--appendonly", "no", "--dir", directory_.c_str(), "--logfile", "/dev/null",
                   static_cast<char *>(nullptr));
            _exit(127);
        }
        for (int tries = 0; tries < 500; ++tries) {
            std::string error;
            if (corvane::bus::Client::connect("redis:" + socket_, &error))
                return;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        kill_server();
    }

    pid_t pid_ = 0;
    std::string directory_;
    std::string socket_;
};

#endif

#endif
