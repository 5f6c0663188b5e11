#pragma once

// Text form of the GenSize records: one "[<type>] <field> : <value>" line per
// field, built in a fixed 4096-byte buffer per record, followed by a header
// line and the text of every nested record. The layouts are tables, so the
// print order of a record is read off one list instead of a chain of calls.

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
    const char* name;
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

// Appends field lines to a caller-owned buffer. The first line that does not
// fit (its length reaches the space left) or fails to format marks the writer
// failed; later lines are ignored.
class FieldLineWriter {
public:
    FieldLineWriter(char* buffer, std::size_t capacity, const char* typeName);

    void add(const char* name, int32_t value);
    void add(const char* name, float value);

    bool failed() const { return failed_; }
    const char* text() const { return buffer_; }
    std::size_t length() const { return length_; }

private:
    void accept(int written);

    char* buffer_;
    std::size_t capacity_;
    std::size_t length_ = 0;
    const char* typeName_;
    bool failed_ = false;
};

// Appends the text of `record` laid out by `layout` to `out`: its own field
// lines formatted within `capacity` bytes (or "error\n" alone when they do not
// fit), then each nested record's header and text. Nested records use the same
// capacity. Real records are far below 4096 bytes; tests pass a smaller one.
void appendRecordText(std::string& out, const RecordLayout& layout, const void* record,
                      std::size_t capacity = kRecordTextCapacity);

// The complete text of `record`, built with one allocation in the usual case.
std::string recordText(const RecordLayout& layout, const void* record);

}  // namespace gensize
}  // namespace velmo
