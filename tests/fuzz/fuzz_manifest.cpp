// SPDX-FileCopyrightText: The updater authors
// SPDX-License-Identifier: MIT

#include "core/Func.h"
#include "tests/fuzz/Require.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <vector>

// The oracle: the manifest read once more, slowly and byte by byte.
namespace {

std::vector<std::string> Pieces(const std::string &text, char separator)
{
    std::vector<std::string> pieces(1);
    for (const char byte : text) {
        if (byte == separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += byte;
        }
    }
    return pieces;
}

std::string UpToNul(const std::string &field)
{
    return field.substr(0, field.find('\0'));
}

int DigitValue(char digit)
{
    const std::string small("0123456789abcdef");
    const std::string capital("0123456789ABCDEF");
    const std::size_t found = small.find(digit);
    return static_cast<int>(found != std::string::npos ? found : capital.find(digit));
}

std::uint64_t Size(std::string text)
{
    while (!text.empty() && std::string(" \v\f\r").find(text[0]) != std::string::npos) {
        text.erase(0, 1);
    }
    if (text.substr(0, 1) == "+") {
        text.erase(0, 1);
    }
    if (text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X") {
        text.erase(0, 2);
    }
    std::uint64_t size = 0;
    for (const char digit : text) {
        const int value = DigitValue(digit);
        if (value < 0 || size > std::numeric_limits<std::uint64_t>::max() / 16) {
            return 0;
        }
        size = size * 16 + static_cast<std::uint64_t>(value);
    }
    return size;
}

QString Path(std::string text)
{
    for (char &byte : text) {
        byte = byte == '\\' ? '/' : byte;
    }
    const QString path = QString::fromUtf8(text.c_str());
    return path.startsWith(QLatin1Char('/')) ? path.mid(1) : path;
}

struct Record {
    std::uint64_t size;
    std::string md5;
};

std::map<QString, Record> SlowReading(const std::string &content)
{
    std::map<QString, Record> records;
    for (std::string line : Pieces(content, '\n')) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        const std::vector<std::string> fields = Pieces(line, '\t');
        if (fields.size() == 3) {
            records[Path(UpToNul(fields[2]))] = {Size(UpToNul(fields[1])), fields[0]};
        }
    }
    return records;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string content(data, data + size);
    const auto records = ParseMd5File(QByteArray::fromStdString(content));
    const auto expected = SlowReading(content);

    Require(static_cast<std::size_t>(records.size()) == expected.size(), "as many records");
    auto record = records.cbegin();
    for (const auto &[path, known] : expected) {
        Require(record.key() == path, "the same paths in the same order");
        Require(record->path == path, "a record tells its own path");
        Require(record->sizeHigh == known.size / 0x100000000U, "the upper half of the size");
        Require(record->sizeLow == known.size % 0x100000000U, "the lower half of the size");
        Require(record->md5.toStdString() == known.md5, "the MD5 text as written");
        ++record;
    }
    return 0;
}
