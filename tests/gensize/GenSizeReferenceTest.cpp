// GenSizeInit and GenSizeProc against an independent reference model.
//
// The expected records come from tests/gensize/reference/gensize_model.py, a
// small Python model of the sizing rules written without looking at the C++
// code; generate.py turns its results into ReferenceCases.inc. To change a
// case, edit reference/cases.py and regenerate; never edit the .inc by hand.
//
// Every 32-bit word of an output record starts as 0x5A5A0000, so a field that
// the call must leave alone is expected to come back with it. Floats are
// compared bit for bit.
//
// Worked example (case "velmo_h_16x9", also asserted by the model's selfcheck):
// main 4000x3000 binned to 2000x1500 under a 1920x1080 output is class 1, so
// FE starts at 960x540. The main RRZ keeps the full width, 2000, and a 16:9
// height ceil2(2000*1080/1920 = 1125) = 1126, offset (0, (1500-1126)/2 = 187);
// its zoom limit is min(2000/960, 1126/540) = 2.0833333. The 77 and 100 degree
// half-angles 38.5 and 50 give the overlap factor (tan 38.5 + 12/2439.30) /
// tan 50 = 0.6716, so the auxiliary image is cropped: its FE becomes
// 64*ceil(960*1.0062/64) = 1024 by 576, its RRZ window ceil2(0.712*2000) = 1424
// by 802 at (288, 349), zoom limit 1424/1024 = 1.390625, which is the zoom
// constraint. The 640x360 depth at 0 degrees gives a 704x360 frame (32 of
// padding each side), disparity map 352x180, auxiliary warp grid 352x192.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "gensize/GenSize.h"
#include "support/LogCapture.h"

namespace {

// One 32-bit word of a record, by its bits.
struct Word {
    uint32_t bits;
};

Word I(int64_t v) { return {static_cast<uint32_t>(v)}; }
Word F(float v) {
    Word w;
    std::memcpy(&w.bits, &v, sizeof w.bits);
    return w;
}
[[maybe_unused]] Word B(uint32_t bits) { return {bits}; }
constexpr uint32_t kSentinel = 0x5A5A0000u;
const Word S{kSentinel};
// Any NaN: the sign of a NaN that arithmetic creates differs between x86-64
// and arm64, so only NaN-ness is compared.
const Word NaN{0x7FC00000u};

bool isNaN(uint32_t bits) { return (bits & 0x7F800000u) == 0x7F800000u && (bits & 0x007FFFFFu) != 0; }

struct FieldInfo {
    const char* name;
    size_t offset;
    bool isFloat;
};

constexpr size_t kInitInWords = sizeof(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT) / 4;
constexpr size_t kInitOutWords = sizeof(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT) / 4;
constexpr size_t kProcInWords = sizeof(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT) / 4;
constexpr size_t kProcOutWords = sizeof(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT) / 4;

struct InitCase {
    const char* name;
    Word in[kInitInWords];
    uint32_t code;
    int ratioMode;
    Word out[kInitOutWords];
};

struct ProcCase {
    const char* name;
    Word init[kInitInWords];
    Word in[kProcInWords];
    uint32_t code;
    // Repair, failure and unsupported-feature lines, in order.
    std::vector<std::string> logLines;
    Word out[kProcOutWords];
};

#include "reference/ReferenceCases.inc"

// Names the case in gtest's parameter printouts.
void PrintTo(const InitCase* c, std::ostream* os) { *os << c->name; }
void PrintTo(const ProcCase* c, std::ostream* os) { *os << c->name; }

template <typename Record, size_t N>
Record fromWords(const Word (&words)[N]) {
    static_assert(sizeof(Record) == N * 4, "one word per 32-bit field");
    Record record;
    std::memcpy(&record, words, sizeof record);
    return record;
}

template <typename Record>
Record filledWithSentinel() {
    static_assert(sizeof(Record) % 4 == 0, "records are made of 32-bit fields");
    Record record;
    for (size_t at = 0; at < sizeof record; at += 4) {
        std::memcpy(reinterpret_cast<char*>(&record) + at, &kSentinel, 4);
    }
    return record;
}

std::string describe(uint32_t bits, bool isFloat) {
    char text[64];
    if (isFloat) {
        float f;
        std::memcpy(&f, &bits, sizeof f);
        std::snprintf(text, sizeof text, "%a (0x%08x)", static_cast<double>(f), bits);
    } else {
        std::snprintf(text, sizeof text, "%d (0x%08x)", static_cast<int32_t>(bits), bits);
    }
    return text;
}

// Compares a record word by word against the expectation, naming each
// mismatching field.
template <typename Record, size_t NFields, size_t NWords>
void expectRecord(const char* caseName, const char* what, const Record& actual,
                  const FieldInfo (&fields)[NFields], const Word (&expected)[NWords]) {
    static_assert(NFields == NWords, "one expected word per field");
    for (size_t i = 0; i < NFields; ++i) {
        uint32_t bits;
        std::memcpy(&bits, reinterpret_cast<const char*>(&actual) + fields[i].offset, sizeof bits);
        const bool same = bits == expected[i].bits ||
                          (fields[i].isFloat && isNaN(bits) && isNaN(expected[i].bits));
        if (!same) {
            ADD_FAILURE() << caseName << ": " << what << "." << fields[i].name << " is "
                          << describe(bits, fields[i].isFloat) << ", expected "
                          << describe(expected[i].bits, fields[i].isFloat);
        }
    }
}

// The model's field lists must name the header's fields in memory order,
// otherwise every expected word would land on the wrong field.
template <size_t N>
void expectMemoryOrder(const FieldInfo (&fields)[N], size_t recordSize) {
    ASSERT_EQ(N * 4, recordSize);
    for (size_t i = 0; i < N; ++i) EXPECT_EQ(fields[i].offset, i * 4) << fields[i].name;
}

TEST(GenSizeReferenceTables, FieldListsFollowTheRecordLayout) {
    expectMemoryOrder(kInitInFields, sizeof(STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT));
    expectMemoryOrder(kInitOutFields, sizeof(STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT));
    expectMemoryOrder(kProcInFields, sizeof(STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT));
    expectMemoryOrder(kProcOutFields, sizeof(STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT));
}

// Keeps the log quiet (and the debug level at 0) while a case runs.
template <typename Case>
class GenSizeReference : public ::testing::TestWithParam<const Case*> {
protected:
    velmo::testing::ScopedProperties properties_;
    velmo::testing::LogCapture log_;
};

template <typename Case, size_t N>
std::vector<const Case*> allOf(const Case (&cases)[N]) {
    std::vector<const Case*> out;
    for (const Case& c : cases) out.push_back(&c);
    return out;
}

template <typename Case>
std::string caseName(const ::testing::TestParamInfo<const Case*>& info) {
    return info.param->name;
}

using GenSizeInitReference = GenSizeReference<InitCase>;

TEST_P(GenSizeInitReference, MatchesTheModel) {
    const InitCase& c = *GetParam();
    auto in = fromWords<STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT>(c.in);
    auto out = filledWithSentinel<STEREO_KERNEL_GEN_SIZE_INIT_OUT_STRUCT>();
    gRatioMode = -1;
    EXPECT_EQ(GenSizeInit(out, in), c.code) << c.name;
    EXPECT_EQ(gRatioMode, c.ratioMode) << c.name;
    expectRecord(c.name, "out", out, kInitOutFields, c.out);
    expectRecord(c.name, "in (must stay unchanged)", in, kInitInFields, c.in);
}

INSTANTIATE_TEST_SUITE_P(Cases, GenSizeInitReference, ::testing::ValuesIn(allOf(kInitCases)),
                         caseName<InitCase>);

// The lines GenSizeProc writes itself when it repairs a window, fails or meets
// an unsupported feature word; the GenSizeInit dumps are filtered out.
std::vector<std::string> procOwnLines(const velmo::testing::LogCapture& log) {
    std::vector<std::string> lines;
    for (const std::string& text : log.texts()) {
        if (text.rfind("[Gensize Error]", 0) == 0 || text.rfind("[GenSizeProc] Gen", 0) == 0) {
            lines.push_back(text);
        }
    }
    return lines;
}

using GenSizeProcReference = GenSizeReference<ProcCase>;

TEST_P(GenSizeProcReference, MatchesTheModel) {
    const ProcCase& c = *GetParam();
    auto init = fromWords<STEREO_KERNEL_GEN_SIZE_INIT_IN_STRUCT>(c.init);
    auto in = fromWords<STEREO_KERNEL_GEN_SIZE_PROC_IN_STRUCT>(c.in);
    auto out = filledWithSentinel<STEREO_KERNEL_GEN_SIZE_PROC_OUT_STRUCT>();
    EXPECT_EQ(GenSizeProc(out, in, init), c.code) << c.name;
    expectRecord(c.name, "out", out, kProcOutFields, c.out);
    expectRecord(c.name, "init (must stay unchanged)", init, kInitInFields, c.init);
    expectRecord(c.name, "in (must stay unchanged)", in, kProcInFields, c.in);
    EXPECT_EQ(procOwnLines(log_), c.logLines) << c.name;
}

INSTANTIATE_TEST_SUITE_P(Cases, GenSizeProcReference, ::testing::ValuesIn(allOf(kProcCases)),
                         caseName<ProcCase>);

}  // namespace
