#pragma once

// Text form of the GenSize records: one "[<type>] <field> : <value>" line per
// field, built in a fixed 4096-byte buffer per record, followed by a header
// line and the text of every nested record. The layouts are tables, so the
// print order of a record is read off one list instead of a chain of calls.

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string>

namespace velmo {
namespace gensize {

// Tag of every GenSize log line.
constexpr const char* kLogTag = "GenSize";

// Size of the buffer one record's own field lines must fit in, terminator
// included. A record whose lines do not fit renders as kRecordTextError.
constexpr std::size_t kRecordTextCapacity = 4096;
constexpr const char* kRecordTextError = "error\n";

enum class FieldKind : uint8_t { Int32, Float };

// One printed field: its name as printed, its type and where it lives.
struct FieldFormat {
    constexpr FieldFormat(const char* fieldName, FieldKind fieldKind, std::size_t fieldOffset)
        : name(fieldName), nameLength(std::char_traits<char>::length(fieldName)), kind(fieldKind),
          offset(fieldOffset) {}

    const char* name;
    std::size_t nameLength;
    FieldKind kind;
    std::size_t offset;
};

struct RecordLayout;

// A record printed after its parent's own lines, introduced by a header line.
struct NestedRecord {
    const char* header;
    const RecordLayout* layout;
    std::size_t offset;
};

struct RecordLayout {
    const char* typeName;  // printed inside the brackets of every field line
    const FieldFormat* fields;
    std::size_t fieldCount;
    const NestedRecord* nested;
    std::size_t nestedCount;
};

// Appends "[<type>] %-20s : %d\n" / "%f\n" field lines to a caller-owned
// buffer, formatted directly rather than through printf (the dumps run on every
// frame). The first line that does not fit (its length reaches the space left)
// or fails to format marks the writer failed; later lines are ignored.
class FieldLineWriter {
public:
    FieldLineWriter(char* buffer, std::size_t capacity, const char* typeName);

    void add(const char* name, int32_t value);
    void add(const char* name, float value);
    void add(const char* name, std::size_t nameLength, int32_t value);
    void add(const char* name, std::size_t nameLength, float value);

    bool failed() const { return failed_; }
    const char* text() const { return buffer_; }
    std::size_t length() const { return length_; }

private:
    // The longest "%f" of a float: 39 integer digits, a sign, a point and 6 decimals.
    static constexpr std::size_t kMaxValueLength = 64;

    void addLine(const char* name, std::size_t nameLength, const char* value, std::to_chars_result formatted);

    char* buffer_;
    std::size_t capacity_;
    std::size_t length_ = 0;
    const char* typeName_;
    std::size_t typeNameLength_;
    bool failed_ = false;
};

// Room for a record's whole text, so that it is built with one allocation:
// every line with its name padded to 20 and a value as long as "%f" prints
// ordinary sizes and angles, plus the nested headers and texts.
constexpr std::size_t textSizeHint(const RecordLayout& layout) {
    constexpr std::size_t kPaddedName = 20;
    constexpr std::size_t kValue = 16;
    const std::size_t typeLength = std::char_traits<char>::length(layout.typeName);
    std::size_t size = 0;
    for (std::size_t i = 0; i < layout.fieldCount; ++i) {
        const std::size_t name = layout.fields[i].nameLength;
        size += typeLength + (name > kPaddedName ? name : kPaddedName) + kValue + 8;
    }
    for (std::size_t i = 0; i < layout.nestedCount; ++i) {
        size += std::char_traits<char>::length(layout.nested[i].header) + textSizeHint(*layout.nested[i].layout);
    }
    return size;
}

// Appends the text of `record` laid out by `layout` to `out`: its own field
// lines formatted within `capacity` bytes (or "error\n" alone when they do not
// fit), then each nested record's header and text. Nested records use the same
// capacity. Real records are far below 4096 bytes; tests pass a smaller one.
void appendRecordText(std::string& out, const RecordLayout& layout, const void* record,
                      std::size_t capacity = kRecordTextCapacity);

// The complete text of `record`, in a string reserved for `sizeHint` bytes.
std::string recordText(const RecordLayout& layout, const void* record, std::size_t sizeHint);

}  // namespace gensize
}  // namespace velmo
