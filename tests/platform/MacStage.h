// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#pragma once

#include "Stage.h"

/// A stage for the macOS module, whose frameworks answer as variables of the environment say.
class MacStage : public Stage {
public:
    MacStage() : Stage(QStringLiteral(MAC_DRIVER))
    {
        writeInfo(InfoPlist(QStringLiteral("a.b.c"), QString()));
    }

    void set(const char *name, const QString &value)
    {
        environment.insert(QString::fromUtf8(name), value);
    }
};
