// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "PlatformCases.h"

#include <utility>

namespace {

QString Created(const QString &path)
{
    return QStringLiteral("createDirectoryAtPath:path=%1\n").arg(path);
}

QString Chosen(const QString &path, int writable = 1)
{
    return QStringLiteral("not sandboxed:path=%1,writable=%2\n").arg(path).arg(writable);
}

QString Printed(const QString &path)
{
    return QStringLiteral("home=%1\n").arg(path);
}

// The folder path did not exist and is the answer.
HomeCase Makes(const char *rule, const QString &path)
{
    HomeCase given;
    given.rule = rule;
    given.out = Printed(path);
    given.log = Created(path) + Chosen(path);
    return given;
}

QList<HomeCase> PlainCases()
{
    const QString usual = QStringLiteral("{stage}/home/.a.b.c");

    HomeCase first = Makes("a first call makes the folder", usual);
    first.made = QStringList{usual};

    HomeCase existing = Makes("an existing folder is taken as it is", usual);
    existing.folders = QStringList{usual};
    existing.log = Chosen(usual);

    HomeCase missing =
        Makes("a missing home is made too", QStringLiteral("{stage}/no/home/.a.b.c"));
    missing.home = QStringLiteral("{stage}/no/home");
    missing.made = QStringList{QStringLiteral("{stage}/no/home/.a.b.c")};

    const QString chinese = QStringLiteral("{stage}/用户 主目录/.a.b.c");
    HomeCase letters = Makes("Chinese letters and blanks", chinese);
    letters.home = QStringLiteral("{stage}/用户 主目录");
    letters.made = QStringList{chinese};

    HomeCase identifier = Makes("a Chinese identifier", QStringLiteral("{stage}/home/.公司.更新"));
    identifier.identifier = QStringLiteral("公司.更新");

    HomeCase percent = Makes("percent signs are no formats", QStringLiteral("{stage}/%s%@/.%d%n"));
    percent.home = QStringLiteral("{stage}/%s%@");
    percent.identifier = QStringLiteral("%d%n");

    HomeCase unnamed = Makes("no identifier", QStringLiteral("{stage}/home/.(null)"));
    unnamed.identifier = QString();

    HomeCase empty =
        Makes("an empty identifier is the home itself", QStringLiteral("{stage}/home/."));
    empty.identifier = QStringLiteral("");
    empty.log = Chosen(QStringLiteral("{stage}/home/."));

    HomeCase cached = Makes("a second call touches nothing", usual);
    cached.commands = QStringList{QStringLiteral("home"),         QStringLiteral("remove"),
                                  QStringLiteral("{stage}/home"), QStringLiteral("change HOME"),
                                  QStringLiteral("{stage}/else"), QStringLiteral("home")};
    cached.out = Printed(usual) + Printed(usual);
    cached.absent = QStringList{QStringLiteral("{stage}/home"), QStringLiteral("{stage}/else")};

    return {first, existing, missing, letters, identifier, percent, unnamed, empty, cached};
}

// Plain files of the names that n = 1..count dots and path give, seen from the working directory.
// They are the first folder of the path only, as the next levels cannot be made below a file.
HomeCase Dotted(const char *rule, const QStringList &files, const QString &path,
                const QString &where)
{
    HomeCase given = Makes(rule, path);
    given.files = files;
    given.made = QStringList{where};
    return given;
}

QList<HomeCase> DotCases()
{
    const QString usual = QStringLiteral("{stage}/home/.a.b.c");

    // The stage's own path starts with one folder name, whose like can be taken beside "cwd".
    HomeCase once = Dotted("a plain file in its place: one dot, relative to the working directory",
                           {usual}, QStringLiteral(".{stage}/home/.a.b.c"),
                           QStringLiteral("{stage}/cwd{stage}/home/.a.b.c"));

    HomeCase twice = Dotted("plain files twice: two dots, in the folder above",
                            {usual, QStringLiteral("{stage}/cwd{stage}/home/.a.b.c")},
                            QStringLiteral("..{stage}/home/.a.b.c"),
                            QStringLiteral("{stage}{stage}/home/.a.b.c"));

    HomeCase thrice = Dotted("plain files three times: a folder of three dots",
                             {usual, QStringLiteral("{stage}/cwd{stage}/home/.a.b.c"),
                              QStringLiteral("{stage}{stage}/home/.a.b.c")},
                             QStringLiteral("...{stage}/home/.a.b.c"),
                             QStringLiteral("{stage}/cwd/...{stage}/home/.a.b.c"));

    HomeCase home = Dotted("a plain file in place of the home", {QStringLiteral("{stage}/flat")},
                           QStringLiteral(".{stage}/flat/.a.b.c"),
                           QStringLiteral("{stage}/cwd{stage}/flat/.a.b.c"));
    home.home = QStringLiteral("{stage}/flat");

    HomeCase many = thrice;
    many.rule = "as many tries as a name has room for dots are not too many";
    for (int dots = 3; dots < 255; ++dots) {
        many.files.append(QStringLiteral("{stage}/cwd/") + QString(dots, QLatin1Char('.')));
    }
    const QString longest = QString(255, QLatin1Char('.')) + usual;
    many.out = Printed(longest);
    many.log = Created(longest) + Chosen(longest);
    many.made = QStringList{QStringLiteral("{stage}/cwd/") + longest};

    return {once, twice, thrice, home, many};
}

QList<HomeCase> OrdinaryUserCases()
{
    HomeCase existing = Makes("an existing folder that is not writable is only reported",
                              QStringLiteral("taken/.a.b.c"));
    existing.home = QStringLiteral("taken");
    existing.folders = QStringList{QStringLiteral("cwd/taken/.a.b.c")};
    existing.locked = QStringList{QStringLiteral("cwd/taken/.a.b.c")};
    existing.commands = QStringList{QStringLiteral("version"), QStringLiteral("ordinary user"),
                                    QStringLiteral("home")};
    existing.out = QStringLiteral("version=1.2.3\n") + existing.out;
    existing.log = Chosen(QStringLiteral("taken/.a.b.c"), 0);

    HomeCase unwritable =
        Makes("a home that is not writable: one dot", QStringLiteral(".taken/.a.b.c"));
    unwritable.home = existing.home;
    unwritable.folders = QStringList{QStringLiteral("cwd/taken")};
    unwritable.locked = unwritable.folders;
    unwritable.commands = existing.commands;
    unwritable.out = QStringLiteral("version=1.2.3\n") + unwritable.out;
    unwritable.made = QStringList{QStringLiteral("cwd/.taken/.a.b.c")};

    return {existing, unwritable};
}

} // namespace

QList<HomeCase> HomeCases()
{
    return PlainCases() + DotCases() + OrdinaryUserCases();
}

QList<VersionCase> VersionCases()
{
    return {
        {"three parts", QStringLiteral("1.2.3"), 1020003},
        {"two digits", QStringLiteral("3.10.25"), 3100025},
        {"zeros", QStringLiteral("2.0.0"), 2000000},
        {"no dot gives 0", QStringLiteral("5"), 0},
        {"two parts drop the minor number", QStringLiteral("5.1"), 5000000},
        {"three parts count", QStringLiteral("5.1.2"), 5010002},
        {"fourth part ignored", QStringLiteral("5.1.2.9"), 5010002},
        {"no version", QString(), 0},
        {"empty version", QStringLiteral(""), 0},
        {"dots alone", QStringLiteral(".."), 0},
        {"nothing before the dot", QStringLiteral(".1.2"), 10002},
        {"nothing between the dots", QStringLiteral("1..2"), 1000002},
        {"minor number spills over", QStringLiteral("1.100.0"), 2000000},
        {"patch number spills over", QStringLiteral("1.2.10000"), 1030000},
        {"blanks in front", QStringLiteral(" 1. 2.  3"), 1020003},
        {"signs", QStringLiteral("+1.-2.+3"), 980003},
        {"all negative", QStringLiteral("-1.-2.-3"), -1020003},
        {"letters behind the digits", QStringLiteral("1a.2b.3-beta"), 1020003},
        {"letters alone", QStringLiteral("第.一.版"), 0},
        {"sum wraps in 32 bits", QStringLiteral("99999.0.0"), 1214752192},
        {"largest sum", QStringLiteral("2147.48.3647"), 2147483647},
        {"one more wraps", QStringLiteral("2147.48.3648"), -2147483647 - 1},
        {"a number beyond an int is the largest", QStringLiteral("0.0.2147483648"), 2147483647},
        {"one below an int is the lowest", QStringLiteral("0.0.-2147483649"), -2147483647 - 1},
        {"one beyond 64 bits too", QStringLiteral("0.0.99999999999999999999"), 2147483647},
    };
}
