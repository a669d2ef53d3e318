#include "tools/bus_acl.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <nettle/sha2.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "bindings/binding.h"

namespace {

// What each user may do. Every process reads every bus key, follows the
// stream (its reader's position, its own wake stream) and writes through
// the function library. Redis checks the commands a function runs against
// the calling user, so a writer holds the write commands themselves, and
// the keys decide where: a node hash, and the pseudo-key
// corvane:node:NAME that corvane_write checks for the node itself. FCALL
// needs read and write access to every key it names, so a follower's
// position (corvane_position: the readers hash and the stream) is called
// through a selector of its own, which holds no command that writes the
// stream.
constexpr char kFollow[] = "resetchannels -@all %R~corvane:* +ping +auth +hello +time +exists +hget +hgetall +hmget "
                           "+hlen +xread +xrange +xlen +xinfo|stream +fcall (%RW~corvane:readers %RW~corvane:changes +fcall "
                           "+hset +hdel) "
                           "(%RW~corvane:wake:* +xadd +del)";
constexpr char kWrite[] = " %RW~corvane:changes %RW~corvane:writer:* +xadd +hset +set +get";

struct BusUser {
    const char *name;
    const char *rules;
    bool follows;       // kFollow first
    bool writes;        // kWrite
    bool native_nodes;  // %W~corvane:node:SUBTREE.* for every native subtree of the tables
};

constexpr BusUser kBusUsers[] = {
    // loads devices, clears the bus, anything else
    {"admin", "~* &* +@all", false, false, false},
    // the daemon: both subtrees; trims the stream, reloads a lost library
    {"corvaned",
     " %RW~corvane:legacy %RW~corvane:legacy:ids %RW~corvane:native %RW~corvane:native:ids %W~corvane:node:corvane.*"
     " +hdel +xtrim +function|load",
     true, true, true},
    // a client of the legacy interface (web server, CGI): corvane.* nodes
    {"legacy", " %RW~corvane:legacy %RW~corvane:legacy:ids %W~corvane:node:corvane.*", true, true, false},
    // reads and follows only
    {"viewer", "", true, false, false},
};
static_assert(std::size(kBusUsers) == 4, "admin, corvaned, legacy, viewer");

// Native subtrees the daemon writes outside the binding tables: the lens
// commands' status nodes and the date handler's mode.
constexpr const char *kOtherNativeSubtrees[] = {"lens", "system_datetime"};

// "image", "encode", ...: the first word of every native node the tables
// name, each once, in table order.
std::vector<std::string> native_subtrees()
{
    std::vector<std::string> subtrees(std::begin(kOtherNativeSubtrees), std::end(kOtherNativeSubtrees));
    for (std::span<const NodeBinding> table : {binding_table, smtp_table, user_table})
        for (const NodeBinding &row : table) {
            if (!row.native_name)
                continue;
            std::string subtree(row.native_name, strcspn(row.native_name, "."));
            if (std::find(subtrees.begin(), subtrees.end(), subtree) == subtrees.end())
                subtrees.push_back(subtree);
        }
    return subtrees;
}

constexpr size_t kPasswordBytes = 24;

bool create_password(const std::string &path, std::string *error)
{
    unsigned char random[kPasswordBytes];
    if (getrandom(random, sizeof random, 0) != static_cast<ssize_t>(sizeof random)) {
        *error = std::string("no random bytes: ") + strerror(errno);
        return false;
    }
    std::string text;
    for (unsigned char byte : random) {
        char hex[3];
        snprintf(hex, sizeof hex, "%02x", byte);
        text += hex;
    }
    text += '\n';
    int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()) || close(fd) != 0) {
        *error = path + ": " + strerror(errno);
        return false;
    }
    return true;
}

bool read_password(const std::string &path, std::string *password, std::string *error)
{
    FILE *in = fopen(path.c_str(), "r");
    char line[512] = "";
    if (!in || !fgets(line, sizeof line, in)) {
        *error = path + ": " + (in ? "empty" : strerror(errno));
        if (in)
            fclose(in);
        return false;
    }
    fclose(in);
    *password = line;
    while (!password->empty() && (password->back() == '\n' || password->back() == '\r'))
        password->pop_back();
    if (password->empty()) {
        *error = path + ": empty";
        return false;
    }
    return true;
}

std::string sha256_hex(const std::string &text)
{
    sha256_ctx context;
    uint8_t digest[SHA256_DIGEST_SIZE];
    sha256_init(&context);
    sha256_update(&context, text.size(), reinterpret_cast<const uint8_t *>(text.data()));
    sha256_digest(&context, sizeof digest, digest);
    std::string hex;
    for (uint8_t byte : digest) {
        char pair[3];
        snprintf(pair, sizeof pair, "%02x", byte);
        hex += pair;
    }
    return hex;
}

} // namespace

bool print_bus_acl(const std::string &password_dir, std::string *error)
{
    // No client can log in as the default user (no password to give), but
    // it keeps every right: Redis replays an append-only file's MULTI/EXEC
    // blocks, which every function call leaves there, as the default user,
    // and drops those it may not run (redis/redis#14541, fixed after 7.2),
    // so "user default off" loses acknowledged writes at a restart.
    std::string lines = "user default on resetpass ~* &* +@all\n";
    for (const BusUser &user : kBusUsers) {
        std::string path = password_dir + "/" + user.name;
        if (access(path.c_str(), F_OK) != 0 && !create_password(path, error))
            return false;
        std::string password;
        if (!read_password(path, &password, error))
            return false;
        lines += std::string("user ") + user.name + " on #" + sha256_hex(password) + " ";
        if (user.follows)
            lines += kFollow;
        if (user.writes)
            lines += kWrite;
        lines += user.rules;
        if (user.native_nodes)
            for (const std::string &subtree : native_subtrees())
                lines += " %W~corvane:node:" + subtree + ".*";
        lines += "\n";
    }
    fputs(lines.c_str(), stdout);
    return true;
}
