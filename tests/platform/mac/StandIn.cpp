// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "StandIn.h"

#include <cstdio>
#include <cstdlib>

static int liveCount = 0;

StandInObject *MakeStandIn(const std::string &name, CFTypeID type, const std::string &content)
{
    ++liveCount;
    return new StandInObject{type, name, content}; // never freed, so that a second release shows
}

void ReleaseStandIn(StandInObject *object)
{
    if (!object->counted || object->references == 0) {
        (void)std::fprintf(stderr, "%s is not the caller's to release\n", object->name.c_str());
        std::abort();
    }
    --object->references;
    --liveCount;
}

int LiveStandIns()
{
    return liveCount;
}

void RecordCall(const std::string &call)
{
    (void)std::fprintf(stderr, "%s\n", call.c_str());
}

std::string Scenario(const char *variable, const std::string &otherwise)
{
    const char *value = std::getenv(variable);
    return value ? value : otherwise;
}

StandInObject *ObjectOf(const void *reference)
{
    if (!reference) {
        (void)std::fprintf(stderr, "a null reference is used\n");
        std::abort();
    }
    return static_cast<StandInObject *>(const_cast<void *>(reference));
}

std::string NameOf(const void *reference)
{
    return reference ? ObjectOf(reference)->name : "null";
}
