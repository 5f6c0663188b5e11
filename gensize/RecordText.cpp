#include "gensize/RecordText.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "common/Numerics.h"

namespace velmo {
namespace gensize {

namespace {

void addField(FieldLineWriter& writer, const FieldFormat& field, const void* record) {
    const char* at = static_cast<const char*>(record) + field.offset;
    if (field.kind == FieldKind::Float) {
        float value;
        std::memcpy(&value, at, sizeof value);
        writer.add(field.name, field.nameLength, value);
    } else {
        int32_t value;
        std::memcpy(&value, at, sizeof value);
        writer.add(field.name, field.nameLength, value);
    }
}

}  // namespace

FieldLineWriter::FieldLineWriter(char* buffer, std::size_t capacity, const char* typeName)
    : buffer_(buffer), capacity_(capacity), typeName_(typeName), typeNameLength_(std::strlen(typeName)) {
    if (capacity_ > 0) buffer_[0] = '\0';
}

void FieldLineWriter::add(const char* name, int32_t value) { add(name, std::strlen(name), value); }
void FieldLineWriter::add(const char* name, float value) { add(name, std::strlen(name), value); }

void FieldLineWriter::add(const char* name, std::size_t nameLength, int32_t value) {
    char digits[kMaxValueLength];
    const std::to_chars_result written = std::to_chars(digits, digits + sizeof digits, value);
    addLine(name, nameLength, digits, written);
}

// "%f": fixed notation with six decimals, exactly as printf rounds it.
void FieldLineWriter::add(const char* name, std::size_t nameLength, float value) {
    char digits[kMaxValueLength];
    const std::to_chars_result written =
        std::to_chars(digits, digits + sizeof digits, printable(value), std::chars_format::fixed, 6);
    addLine(name, nameLength, digits, written);
}

// Appends "[<type>] <name padded to 20> : <value>\n" and its terminator, or
// fails when the line and terminator do not fit in the space left.
void FieldLineWriter::addLine(const char* name, std::size_t nameLength, const char* value,
                              std::to_chars_result formatted) {
    if (failed_) return;
    if (formatted.ec != std::errc{}) {
        failed_ = true;
        return;
    }
    constexpr std::size_t kNameWidth = 20;
    const std::size_t padding = nameLength < kNameWidth ? kNameWidth - nameLength : 0;
    const std::size_t valueLength = static_cast<std::size_t>(formatted.ptr - value);
    const std::size_t lineLength = typeNameLength_ + nameLength + padding + valueLength + 7;
    if (lineLength >= capacity_ - length_) {
        failed_ = true;
        return;
    }
    char* at = buffer_ + length_;
    const auto put = [&at](const char* text, std::size_t size) {
        std::memcpy(at, text, size);
        at += size;
    };
    put("[", 1);
    put(typeName_, typeNameLength_);
    put("] ", 2);
    put(name, nameLength);
    std::memset(at, ' ', padding);
    at += padding;
    put(" : ", 3);
    put(value, valueLength);
    put("\n", 2);  // the line end and the terminator
    length_ += lineLength;
}

void appendRecordText(std::string& out, const RecordLayout& layout, const void* record, std::size_t capacity) {
    char buffer[kRecordTextCapacity];
    FieldLineWriter writer(buffer, std::min(capacity, kRecordTextCapacity), layout.typeName);
    for (std::size_t i = 0; i < layout.fieldCount && !writer.failed(); ++i) {
        addField(writer, layout.fields[i], record);
    }
    if (writer.failed()) {
        out.append(kRecordTextError);
        return;
    }
    out.append(writer.text(), writer.length());
    for (std::size_t i = 0; i < layout.nestedCount; ++i) {
        const NestedRecord& nested = layout.nested[i];
        out.append(nested.header);
        appendRecordText(out, *nested.layout, static_cast<const char*>(record) + nested.offset, capacity);
    }
}

std::string recordText(const RecordLayout& layout, const void* record, std::size_t sizeHint) {
    std::string text;
    text.reserve(sizeHint);
    appendRecordText(text, layout, record);
    return text;
}

}  // namespace gensize
}  // namespace velmo
