// Reads into the caller's fixed value buffers, cleared first as every
// reader of the bus does.
#ifndef FRAME_NODE_H
#define FRAME_NODE_H

#include <cstddef>

#include "frame/text.h"
#include "platform/nbus.h"

// 0 on success; any other value is the bus's error code.
template <size_t N>
int read_node(const char *name, char (&value)[N])
{
    clear(value);
    return nbus_get(name, value, static_cast<int>(N));
}

// Writes `number` as "%d" text.
inline void write_number(const char *name, int number)
{
    char text[16];
    format_into(text, "%d", number);
    nbus_set(name, text);
}

// One row of a word mapping: the first row whose key the value contains
// (or equals, for exact tables) gives the word.
struct WordMapping {
    const char *key;
    const char *word;
};

template <size_t N>
const char *word_containing(const char *value, const WordMapping (&mappings)[N], const char *otherwise)
{
    for (const WordMapping &mapping : mappings)
        if (contains(value, mapping.key))
            return mapping.word;
    return otherwise;
}

template <size_t N>
const char *word_equal_to(const char *value, const WordMapping (&mappings)[N], const char *otherwise)
{
    for (const WordMapping &mapping : mappings)
        if (equals(value, mapping.key))
            return mapping.word;
    return otherwise;
}

#endif
