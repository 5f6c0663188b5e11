#include "gensize/RecordText.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "common/Numerics.h"

namespace velmo {
namespace gensize {

namespace {

// Room for one field line: brackets, the name padded to 20, " : " and a value
// as long as "%f" prints ordinary sizes and angles.
std::size_t lineSizeHint(const char* typeName, const char* fieldName) {
    constexpr std::size_t kPaddedName = 20;
    constexpr std::size_t kValue = 16;
    return std::strlen(typeName) + std::max(std::strlen(fieldName), kPaddedName) + kValue + 8;
}

std::size_t textSizeHint(const RecordLayout& layout) {
    std::size_t size = 0;
    for (std::size_t i = 0; i < layout.fieldCount; ++i) {
        size += lineSizeHint(layout.typeName, layout.fields[i].name);
    }
    for (std::size_t i = 0; i < layout.nestedCount; ++i) {
        size += std::strlen(layout.nested[i].header) + textSizeHint(*layout.nested[i].layout);
    }
    return size;
}

void addField(FieldLineWriter& writer, const FieldFormat& field, const void* record) {
    const char* at = static_cast<const char*>(record) + field.offset;
    if (field.kind == FieldKind::Float) {
        float value;
        std::memcpy(&value, at, sizeof value);
        writer.add(field.name, value);
    } else {
        int32_t value;
        std::memcpy(&value, at, sizeof value);
        writer.add(field.name, value);
    }
}

}  // namespace

FieldLineWriter::FieldLineWriter(char* buffer, std::size_t capacity, const char* typeName)
    : buffer_(buffer), capacity_(capacity), typeName_(typeName) {
    if (capacity_ > 0) buffer_[0] = '\0';
}

void FieldLineWriter::add(const char* name, int32_t value) {
    if (failed_) return;
    accept(std::snprintf(buffer_ + length_, capacity_ - length_, "[%s] %-20s : %d\n", typeName_, name, value));
}

void FieldLineWriter::add(const char* name, float value) {
    if (failed_) return;
    accept(std::snprintf(buffer_ + length_, capacity_ - length_, "[%s] %-20s : %f\n", typeName_, name,
                         printable(value)));
}

void FieldLineWriter::accept(int written) {
    // A line exactly as long as the space left has lost its last byte to the
    // terminator: that counts as not fitting too.
    if (written < 0 || static_cast<std::size_t>(written) >= capacity_ - length_) {
        failed_ = true;
        return;
    }
    length_ += static_cast<std::size_t>(written);
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

std::string recordText(const RecordLayout& layout, const void* record) {
    std::string text;
    text.reserve(textSizeHint(layout));
    appendRecordText(text, layout, record);
    return text;
}

}  // namespace gensize
}  // namespace velmo
