// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/power/Neighbour.h"

#include <QFile>

#include <chrono>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds Pause{20};

} // namespace

Neighbour::Neighbour(const QString &folder)
    : m_thread([this, path = folder + QStringLiteral("/neighbour")] {
          QFile file(path);
          if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Unbuffered)) {
              qFatal("The neighbour has no file.");
          }
          while (!m_stop) {
              if (file.write("still here\n") < 0 || ::fsync(file.handle()) != 0) {
                  qFatal("The neighbour cannot write.");
              }
              std::this_thread::sleep_for(Pause);
          }
      })
{
}

Neighbour::~Neighbour()
{
    m_stop = true;
    m_thread.join();
}
