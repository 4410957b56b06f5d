// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include <string>

/// \file
/// What the stand-ins for the frameworks share. Each writes a line per call to standard error,
/// where the module's log lines also go, so that their order shows. A scenario sets their answers
/// through environment variables.

using CFTypeID = unsigned long;

/// A reference-counted object of a framework.
struct StandInObject {
    CFTypeID type = 0;
    std::string name; ///< shown in the call lines
    std::string content;
    bool counted = true; ///< false for objects that live forever
    int references = 1;
};

enum StandInType : CFTypeID { OtherType = 1, DataType, StringType };

/// Makes an object that the caller must release or pass on.
StandInObject *MakeStandIn(const std::string &name, CFTypeID type = OtherType,
                           const std::string &content = {});

/// Releases one reference. Ends the program if there is none left.
void ReleaseStandIn(StandInObject *object);

/// Returns how many references have not been released yet.
int LiveStandIns();

/// Writes a line for a call of a framework.
void RecordCall(const std::string &call);

/// Returns what the scenario sets under the name \a variable, or \a otherwise.
std::string Scenario(const char *variable, const std::string &otherwise = {});

/// Returns the object behind a reference of any framework.
StandInObject *ObjectOf(const void *reference);

/// Returns the name of the object behind \a reference, or "null".
std::string NameOf(const void *reference);
