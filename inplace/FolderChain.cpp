// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "inplace/FolderChain.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

bool IsWithin(const QByteArray &path, const QByteArray &folder)
{
    return folder.isEmpty() || path == folder ||
           (path.startsWith(folder) && path.at(folder.size()) == '/');
}

} // namespace

FolderChain::FolderChain(const QByteArray &root)
{
    m_steps.push_back({{}, ::open(root.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)});
}

FolderChain::~FolderChain()
{
    for (const Step &step : m_steps) {
        (void)::close(step.handle);
    }
}

int FolderChain::open(const QByteArray &path)
{
    leaveTo(path);
    while (m_steps.back().handle >= 0 && m_steps.back().path.size() < path.size()) {
        const int begin = m_steps.back().path.isEmpty() ? 0 : m_steps.back().path.size() + 1;
        const int separator = path.indexOf('/', begin);
        const int end = separator < 0 ? path.size() : separator;
        const QByteArray name = path.mid(begin, end - begin);
        const int handle = ::openat(m_steps.back().handle, name.constData(),
                                    O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
        if (handle < 0) {
            return -1;
        }
        m_steps.push_back({path.left(end), handle});
    }
    return m_steps.back().handle;
}

void FolderChain::leaveTo(const QByteArray &path)
{
    while (!IsWithin(path, m_steps.back().path)) {
        (void)::close(m_steps.back().handle);
        m_steps.pop_back();
    }
}
