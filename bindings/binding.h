// A legacy node tied to its handler, its native node and its converter.
#ifndef BINDINGS_BINDING_H
#define BINDINGS_BINDING_H

#include <cstddef>
#include <span>

#include "frame/routine.h"

using Handler = handler_routine *;
using Converter = converter_routine *;

struct NodeBinding {
    const char *legacy_name;  // "corvane." + parameter; may hold one "%d"
    Handler handler;          // legacy to native; none: not registered
    const char *native_name;  // mirrored native node; none: not synchronised
    Converter converter;      // native to legacy; none: copied unchanged
    bool secret = false;      // a password, community or key: masked in the log on request
};

constexpr int kMailSlots = 10;
constexpr int kUserSlots = 12;

// The tables in bindings/tables.cpp; their sizes are their rows'.
extern const std::span<const NodeBinding> binding_table;
extern const std::span<const NodeBinding> smtp_table;
extern const std::span<const NodeBinding> user_table;

inline int row_count(std::span<const NodeBinding> table) { return static_cast<int>(table.size()); }

// Sizes as the legacy 32-bit device laid the records out (four 32-bit words
// each); the start-up summary reports these on every build. Ours carry the
// secret mark in a fifth word.
constexpr int kDeviceRecordBytes = 16;

// Whether `name` is the legacy or native node of a row marked secret (a
// "%d" of the row stands for any number).
bool secret_node(const char *name);

#endif
