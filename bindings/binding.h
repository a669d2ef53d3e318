// A legacy node tied to its handler, its native node and its converter.
#ifndef BINDINGS_BINDING_H
#define BINDINGS_BINDING_H

#include <array>
#include <cstddef>

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

constexpr size_t kBindingRows = 538;
constexpr size_t kSmtpRows = 5;
constexpr size_t kUserRows = 3;
constexpr int kMailSlots = 10;
constexpr int kUserSlots = 12;

extern const std::array<NodeBinding, kBindingRows> binding_table;
extern const std::array<NodeBinding, kSmtpRows> smtp_table;
extern const std::array<NodeBinding, kUserRows> user_table;

// Sizes as the legacy 32-bit device laid the records out (four 32-bit words
// each); the start-up summary reports these on every build. Ours carry the
// secret mark in a fifth word.
constexpr int kDeviceRecordBytes = 16;

// Whether `name` is the legacy or native node of a row marked secret (a
// "%d" of the row stands for any number).
bool secret_node(const char *name);

#endif
