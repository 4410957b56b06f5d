// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "BaseUrl.h"

#include <QtTest>

class tst_BaseUrl : public QObject {
    Q_OBJECT

private slots:
    static void baseUrl_ofOddCharacters_isCompiledInUnchanged();
};

void tst_BaseUrl::baseUrl_ofOddCharacters_isCompiledInUnchanged()
{
    QCOMPARE(UPDATE_BASE_URL,
             QString::fromUtf8(R"(https://u:p@x.example:8443/a%20b&c='d'("e\n)+f,$g@h@/路?i;j)"));
}

QTEST_APPLESS_MAIN(tst_BaseUrl)
#include "tst_baseurl.moc"
