// The bus server's users, one per kind of process, and the ACL file for
// redis-server --aclfile that gives each its rights.
#ifndef TOOLS_BUS_ACL_H
#define TOOLS_BUS_ACL_H

#include <string>

// Prints the ACL file to standard output. Each user's password is the first
// line of PASSWORD_DIR/USER, created (mode 0600, random) where missing; the
// file holds only the passwords' SHA-256. Returns false with a message.
bool print_bus_acl(const std::string &password_dir, std::string *error);

#endif
