// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "tests/support/FaultyAnswers.h"

#include <QProcess>

#include <utility>

namespace {

using Ending = FaultyAnswer::Ending;

constexpr int Parts = 16;
constexpr int LongLine = 1000000;
constexpr int ManyLines = 10000;

const QString Closed = QStringLiteral("Connection closed");
const QByteArray Ok("HTTP/1.1 200 OK\r\n");

QByteArray LengthLine(const QByteArray &length)
{
    return "Content-Length: " + length + "\r\n";
}

QByteArray LengthLine(int length)
{
    return LengthLine(QByteArray::number(length));
}

QByteArray Chunk(const QByteArray &data)
{
    return QByteArray::number(data.size(), 16) + "\r\n" + data + "\r\n";
}

/// Makes the rows.
class Table {
public:
    explicit Table(QByteArray body) : m_body(std::move(body)) {}

    void addHeads();
    void addResets();
    void addLengths();
    void addChunks();
    void addGzip();
    void addOtherThanHttp();
    void addSlow();

    QList<FaultyAnswer> answers() const { return m_answers; }

private:
    void arrives(const QString &name, const QByteArray &bytes, const QByteArray &body,
                 Ending ending = Ending::Close)
    {
        m_answers.append({name, bytes, ending, body.isNull() ? QByteArray("") : body, {}});
    }

    void whole(const QString &name, const QByteArray &bytes) { arrives(name, bytes, m_body); }

    void fails(const QString &name, const QByteArray &bytes, Ending ending = Ending::Close,
               const QString &error = Closed)
    {
        m_answers.append({name, bytes, ending, {}, error});
    }

    /// The last row again, with a connection that stays open; \a waits as in the row.
    void addHeld(bool waits)
    {
        FaultyAnswer held = m_answers.last();
        held.name += QStringLiteral(", connection held");
        held.ending = Ending::Hold;
        held.waits = waits;
        m_answers.append(held);
    }

    const QByteArray m_body;
    QList<FaultyAnswer> m_answers;
};

/// The status line, the rest of the head and the body are about as long as each other.
void Table::addResets()
{
    const QByteArray head = "HTTP/1.1 200 " + QByteArray(m_body.size(), 'r') +
                            "\r\nX-More: " + QByteArray(m_body.size(), 'h') + "\r\n" +
                            LengthLine(m_body.size()) + "\r\n";
    const QByteArray answer = head + m_body;
    for (int part = 0; part <= Parts; ++part) {
        const int cut = answer.size() * part / Parts;
        const QString name = QStringLiteral("reset after %1/16 of the answer").arg(part);
        if (cut < head.size()) {
            fails(name, answer.left(cut), Ending::Reset);
        } else {
            arrives(name, answer.left(cut), m_body.left(cut - head.size()), Ending::Reset);
        }
    }
}

void Table::addHeads()
{
    const QByteArray end = LengthLine(m_body.size()) + "\r\n" + m_body;
    const QByteArray longLine = "X-Long: " + QByteArray(LongLine, 'x') + "\r\n";
    QByteArray lines;
    QByteArray sameLines;
    for (int i = 0; i < ManyLines; ++i) {
        const QByteArray number = QByteArray::number(i);
        lines += "X-" + number + ": " + number + "\r\n";
        sameLines += "X-Same: " + number + "\r\n";
    }
    whole(QStringLiteral("plain"), Ok + end);
    whole(QStringLiteral("status line of 1 MB"),
          "HTTP/1.1 200 " + QByteArray(LongLine, 'r') + "\r\n" + end);
    whole(QStringLiteral("head line of 1 MB"), Ok + longLine + end);
    whole(QStringLiteral("10,000 head lines"), Ok + lines + end);
    whole(QStringLiteral("10,000 head lines of one name"), Ok + sameLines + end);
    whole(QStringLiteral("10,000 head lines and one of 1 MB"), Ok + lines + longLine + end);
}

void Table::addLengths()
{
    const auto told = [this](const QByteArray &length) {
        return Ok + LengthLine(length) + "\r\n" + m_body;
    };
    arrives(QStringLiteral("length too small"), told("999"), m_body.left(999));
    addHeld(false);
    whole(QStringLiteral("length too large"), told(QByteArray::number(m_body.size() + 1)));
    addHeld(true);
    whole(QStringLiteral("length of 2^63-1"), told("9223372036854775807"));
    whole(QStringLiteral("length of 2^64"), told("18446744073709551616"));
    for (const char *length : {"-1", "-9223372036854775808", "many", ""}) {
        whole(QStringLiteral("length \"%1\"").arg(QLatin1String(length)), told(length));
        addHeld(true);
    }
    whole(QStringLiteral("no length"), Ok + "\r\n" + m_body);
    addHeld(true);
}

void Table::addChunks()
{
    const QByteArray head = Ok + "Transfer-Encoding: chunked\r\n\r\n";
    const QByteArray half = m_body.left(m_body.size() / 2);
    const QByteArray rest = m_body.mid(half.size());
    const QByteArray first = head + Chunk(half);
    const QByteArray last("0\r\n\r\n");
    whole(QStringLiteral("chunked"), first + Chunk(rest) + last);
    addHeld(false);
    whole(QStringLiteral("last chunk missing"), first + Chunk(rest));
    addHeld(true);
    arrives(QStringLiteral("cut in a chunk"), first + Chunk(rest).chopped(102),
            m_body.chopped(100));
    addHeld(true);
    arrives(QStringLiteral("chunk size that is no number"), first + "size\r\n" + rest + last, half);
    arrives(QStringLiteral("chunk size below zero"), first + "-5\r\n" + rest + last, half);
    whole(QStringLiteral("chunk of 2^63-1 bytes"), first + "7fffffffffffffff\r\n" + rest);
    addHeld(true);
    // A size that does not fit is read as 0, which ends the body.
    arrives(QStringLiteral("chunk of 2^64-1 bytes"), first + "ffffffffffffffff\r\n" + rest, half);
}

void Table::addGzip()
{
    const FaultyAnswer whole = GzipAnswer(m_body);
    m_answers.append(whole);
    FaultyAnswer wrong = whole;
    wrong.name = QStringLiteral("gzip with a wrong check sum");
    wrong.bytes[wrong.bytes.size() - 8] =
        static_cast<char>(~wrong.bytes.at(wrong.bytes.size() - 8));
    wrong.arrives = "";
    m_answers.append(wrong);
    arrives(QStringLiteral("gzip that is none"),
            Ok + "Content-Encoding: gzip\r\n" + LengthLine(m_body.size()) + "\r\n" + m_body, "");
}

void Table::addOtherThanHttp()
{
    fails(QStringLiteral("empty"), "");
    addHeld(true);
    fails(QStringLiteral("another protocol"), "220 mail.example.com ready\r\n");
    fails(QStringLiteral("body without a status line"), m_body);
    addHeld(false);
    fails(QStringLiteral("status line without a status"), "HTTP/1.1\r\n\r\n" + m_body);
    fails(QStringLiteral("status that is no number"), "HTTP/1.1 OK 200\r\n\r\n" + m_body);
    fails(QStringLiteral("1,000 NULs"), QByteArray(1000, '\0'));
    fails(QStringLiteral("1,000 line ends"), QByteArray("\r\n").repeated(1000));
    fails(QStringLiteral("head without an end"), "HTTP/1.1 200 OK\r\nX-Long: " + m_body);
    addHeld(true);
}

void Table::addSlow()
{
    const QByteArray head = Ok + LengthLine(m_body.size()) + "\r\n";
    fails(QStringLiteral("a byte a second"), head + m_body);
    m_answers.last().quick = 0;
    m_answers.last().waits = true;
    whole(QStringLiteral("a byte a second of the body"), head + m_body);
    m_answers.last().quick = head.size();
    m_answers.last().waits = true;
}

} // namespace

QList<FaultyAnswer> FaultyAnswers(const QByteArray &body)
{
    Table table(body);
    table.addHeads();
    table.addResets();
    table.addLengths();
    table.addChunks();
    table.addGzip();
    table.addOtherThanHttp();
    table.addSlow();
    return table.answers();
}

FaultyAnswer GzipAnswer(const QByteArray &body)
{
    QProcess gzip;
    gzip.start(QStringLiteral("gzip"), {QStringLiteral("-1")});
    gzip.write(body);
    gzip.closeWriteChannel();
    if (!gzip.waitForFinished() || gzip.exitCode() != 0) {
        qFatal("The body cannot be packed.");
    }
    const QByteArray packed = gzip.readAllStandardOutput();
    return {QStringLiteral("gzip"),
            Ok + "Content-Encoding: gzip\r\n" + LengthLine(packed.size()) + "\r\n" + packed,
            Ending::Close,
            body,
            {}};
}

void Give(const FaultyAnswer &answer, ScriptedConnection &connection)
{
    const int quick = answer.quick < 0 ? answer.bytes.size() : answer.quick;
    bool goesOn = connection.send(answer.bytes.left(quick));
    for (int i = quick; i < answer.bytes.size() && goesOn; ++i) {
        connection.pause(1000);
        goesOn = connection.send(answer.bytes.mid(i, 1));
    }
    switch (answer.ending) {
    case Ending::Close:
        connection.close();
        break;
    case Ending::Reset:
        connection.reset();
        break;
    case Ending::Hold:
        connection.hang();
        break;
    }
}
