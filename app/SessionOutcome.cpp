// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "app/SessionOutcome.h"

#include <QCoreApplication>

#include <array>

namespace {

constexpr const char *Marker13 =
    QT_TRANSLATE_NOOP("QApplication", "----------------更新程序关闭13------------------");
constexpr const char *Marker12 =
    QT_TRANSLATE_NOOP("QApplication", "----------------更新程序关闭12------------------");
constexpr const char *Marker000001 =
    QT_TRANSLATE_NOOP("QApplication", "----------------更新程序关闭000001------------------");
constexpr const char *Marker0001 =
    QT_TRANSLATE_NOOP("QApplication", "----------------更新程序关闭0001------------------");
constexpr const char *Marker001 =
    QT_TRANSLATE_NOOP("QApplication", "----------------更新程序关闭001------------------");
constexpr const char *Marker01 =
    QT_TRANSLATE_NOOP("QApplication", "----------------更新程序关闭01------------------");
constexpr const char *Marker1 =
    QT_TRANSLATE_NOOP("QApplication", "----------------更新程序关闭1------------------");
constexpr const char *Marker3 =
    QT_TRANSLATE_NOOP("QApplication", "----------------更新程序关闭3------------------");

constexpr const char *StartTitle = QT_TRANSLATE_NOOP("QObject", "启动");
constexpr const char *ConfigurationTitle = QT_TRANSLATE_NOOP("QObject", "配置错误");
constexpr const char *UpdateTitle = QT_TRANSLATE_NOOP("QObject", "更新失败");

constexpr const char *RunningText = QT_TRANSLATE_NOOP("QObject", "升级程序已运行");
constexpr const char *BaseUrlText = QT_TRANSLATE_NOOP("QObject", "升级地址不合法:%1");
constexpr const char *DescriptionUrlText =
    QT_TRANSLATE_NOOP("QObject", "升级描述文件地址不合法:%1");
constexpr const char *FetchText = QT_TRANSLATE_NOOP("QObject", "下载升级描述文件失败:%1");
constexpr const char *ContentText = QT_TRANSLATE_NOOP("QObject", "升级描述文件内容不合法:%1");

using O = SessionOutcome;
using H = HostStart;

// In the order of the enum. In console mode a failed fetch exits with 0 and an invalid address with
// 1, on purpose.
// clang-format off
constexpr std::array<SessionOutcomeInfo, static_cast<std::size_t>(O::Count)> Table{{
    // outcome                 title               message             retry  host started     console       windowed      exit
    {O::Restarted,              nullptr,            nullptr,            false, H::Always,       Marker13,     Marker13,     1},
    {O::AlreadyRunning,         StartTitle,         RunningText,        false, H::WindowedOnly, Marker12,     Marker12,     1},
    {O::BaseUrlNotValid,        ConfigurationTitle, BaseUrlText,        false, H::WindowedOnly, Marker000001, Marker000001, 1},
    {O::DescriptionUrlNotValid, ConfigurationTitle, DescriptionUrlText, false, H::WindowedOnly, Marker0001,   Marker3,      1},
    {O::FetchFailed,            UpdateTitle,        FetchText,          false, H::Never,        Marker001,    Marker001,    0},
    {O::FetchGivenUp,           UpdateTitle,        FetchText,          true,  H::WindowedOnly, Marker3,      Marker3,      1},
    {O::ContentNotValid,        UpdateTitle,        ContentText,        false, H::Never,        Marker01,     Marker01,     0},
    {O::ContentGivenUp,         UpdateTitle,        ContentText,        true,  H::WindowedOnly, Marker3,      Marker3,      1},
    {O::NoUpdateNeeded,         nullptr,            nullptr,            false, H::WindowedOnly, Marker3,      Marker3,      1},
    {O::NoticeAccepted,         nullptr,            nullptr,            false, H::Never,        Marker1,      Marker1,      0},
    {O::NoticeDeclined,         nullptr,            nullptr,            false, H::Never,        Marker1,      Marker1,      0},
}};
// clang-format on

// A missing row would read as the first outcome.
constexpr bool IsComplete()
{
    for (std::size_t i = 0; i < Table.size(); ++i) {
        if (static_cast<std::size_t>(Table[i].outcome) != i) {
            return false;
        }
    }
    return true;
}
static_assert(IsComplete(), "every outcome has its row, in the order of the enum");

} // namespace

const SessionOutcomeInfo &InfoOf(SessionOutcome outcome)
{
    return Table.at(static_cast<std::size_t>(outcome));
}
