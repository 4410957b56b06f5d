// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "Scenes.h"

#include "Poses.h"

namespace {

const char *const FetchFailed = "更新失败";
const char *const TimeOut = "下载升级描述文件失败:Error transferring "
                            "https://update.example.com/public/kestrel/update/mac/update.json - "
                            "server replied: Service Temporarily Unavailable";
const char *const Portal = "升级描述文件内容不合法:<!DOCTYPE html>\n<html>\n  <head>\n    "
                           "<title>Sign in &amp; surf</title>\n  </head>\n  <body>\n    "
                           "<h1>Welcome to the hotel network</h1>\n  </body>\n</html>\n";
const char *const Page = "http://127.0.0.1/";

QPixmap Usual(Gesture gesture, const char *button)
{
    return Notice(false, QStringLiteral("3.10.25"), gesture, button);
}

QPixmap BothButtons(Gesture gesture, const char *button)
{
    return Error(FetchFailed, "网络错误：10012", true, Page, gesture, button);
}

void StartFirst(CUpdateProgress &dialog)
{
    dialog.downloadStarted(QFileInfo(QString::fromUtf8("Contents/MacOS/Kestrel")), 1, 500);
    dialog.downloadProgress(1, 100);
}

void StartThird(CUpdateProgress &dialog)
{
    dialog.downloadStarted(QFileInfo(QString::fromUtf8("Contents/Resources/帮助文档.html")), 2, 5);
    dialog.downloadProgress(734003, 1048576);
}

void EndLast(CUpdateProgress &dialog)
{
    dialog.downloadStarted(QFileInfo(QString::fromUtf8("Contents/Info.plist")), 5, 5);
    dialog.downloadProgress(1, 1);
}

void FailThird(CUpdateProgress &dialog)
{
    StartThird(dialog);
    dialog.downloadFail(QFileInfo(), QString::fromUtf8("下载更新文件帮助文档.html网络错误"));
}

QList<Scene> NoticeScenes()
{
    return {
        {"notice", "A newer version", [] { return Usual(Gesture::None, ""); }},
        {"notice-forced", "No putting off", [] { return Notice(true, QStringLiteral("3.10.25")); }},
        {"notice-long", "A long version",
         [] { return Notice(false, QStringLiteral("2025.11.21-beta.4+build.20251121.3f9c1e7a")); }},
        {"notice-keyboard", "Focus on 以后再说", [] { return Usual(Gesture::Focus, "skip"); }},
        {"notice-focus", "Focus on 立即更新", [] { return Usual(Gesture::Focus, "update"); }},
        {"notice-hover", "Mouse over 立即更新", [] { return Usual(Gesture::Hover, "update"); }},
        {"notice-hover-skip", "Mouse over 以后再说", [] { return Usual(Gesture::Hover, "skip"); }},
        {"notice-pressed", "立即更新 pressed", [] { return Usual(Gesture::Press, "update"); }},
        {"notice-pressed-skip", "以后再说 pressed", [] { return Usual(Gesture::Press, "skip"); }},
    };
}

QList<Scene> ErrorScenes()
{
    return {
        {"error", "Try again",
         [] { return Error(FetchFailed, "下载升级描述文件失败:网络超时", true); }},
        {"error-url", "Try again, or download by hand",
         [] { return BothButtons(Gesture::None, ""); }},
        {"error-focus", "Focus on 再试一次", [] { return BothButtons(Gesture::Focus, "retry"); }},
        {"error-focus-download", "Focus on 官网下载",
         [] { return BothButtons(Gesture::Focus, "download"); }},
        {"error-hover-download", "Mouse over 官网下载",
         [] { return BothButtons(Gesture::Hover, "download"); }},
        {"inplace-failed", "An update in place failed",
         [] { return Error(FetchFailed, "更新文件帮助文档.html校验不对", true, Page); }},
        {"error-final", "No choice but Escape",
         [] { return Error("启动", "升级程序已运行", false); }},
        {"error-long", "A message too long", [] { return Error(FetchFailed, TimeOut, true); }},
        {"error-page", "A web page as message", [] { return Error(FetchFailed, Portal, true); }},
        {"error-tooltip", "Its tool tip", [] { return ErrorWithToolTip(FetchFailed, Portal); }},
    };
}

QList<Scene> ProgressScenes()
{
    return {
        {"progress-start", "Download begins", [] { return Progress([](CUpdateProgress &) {}); }},
        {"progress-first", "The first byte", [] { return Progress(StartFirst); }},
        {"progress", "File 3 of 5", [] { return Progress(StartThird); }},
        {"progress-end", "All there", [] { return Progress(EndLast); }},
        {"progress-failed", "Download failed", [] { return Progress(FailThird); }},
        {"progress-focus", "Focus on 取消", [] { return Progress(StartThird, Gesture::Focus); }},
        {"progress-hover", "Mouse over 取消", [] { return Progress(StartThird, Gesture::Hover); }},
        {"progress-pressed", "取消 pressed", [] { return Progress(StartThird, Gesture::Press); }},
    };
}

} // namespace

const QList<Scene> &AllScenes()
{
    static const QList<Scene> scenes =
        NoticeScenes() + ErrorScenes() + ProgressScenes() +
        QList<Scene>{
            {"icon", "The icon, light", [] { return Icons(QColor(0xf2, 0xf2, 0xf4)); }},
            {"icon-dark", "The icon, dark", [] { return Icons(QColor(0x1e, 0x1e, 0x22)); }},
        };
    return scenes;
}
