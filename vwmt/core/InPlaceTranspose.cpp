#include "vwmt/core/InPlaceTranspose.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <utility>

namespace velmo {
namespace transpose {

// Square images transpose by swapping across the diagonal, tile by tile so
// that both the row and the column side stay in cache.
void squareBySwaps(int* img, size_t n) {
    constexpr size_t kTile = 32;
    for (size_t rowTile = 0; rowTile < n; rowTile += kTile) {
        const size_t rowEnd = std::min(rowTile + kTile, n);
        for (size_t colTile = 0; colTile <= rowTile; colTile += kTile) {
            for (size_t row = rowTile; row < rowEnd; ++row) {
                const size_t colEnd = std::min(colTile + kTile, row);
                for (size_t col = colTile; col < colEnd; ++col) std::swap(img[row * n + col], img[col * n + row]);
            }
        }
    }
}

namespace {

// Quotient and remainder by a divisor fixed for a whole transpose. The
// hardware divide would dominate the cycle walk; a double reciprocal gives the
// quotient to within one, which the exact remainder then corrects.
class Divider {
public:
    explicit Divider(uint64_t divisor) : divisor_(divisor), reciprocal_(1.0 / static_cast<double>(divisor)) {}

    void divide(uint64_t value, uint64_t& quotient, uint64_t& remainder) const {
        uint64_t q = static_cast<uint64_t>(static_cast<double>(value) * reciprocal_);
        if (q * divisor_ > value) --q;
        uint64_t r = value - q * divisor_;
        if (r >= divisor_) {
            ++q;
            r -= divisor_;
        }
        quotient = q;
        remainder = r;
    }

private:
    uint64_t divisor_;
    double reciprocal_;
};

// Position p of the H-wide transposed image, row a and column b, receives
// source pixel (x = a, y = b), which sits at b * W + a.
class TransposeSource {
public:
    TransposeSource(uint64_t W, uint64_t H) : width_(W), byHeight_(H) {}
    uint64_t operator()(uint64_t p) const {
        uint64_t a, b;
        byHeight_.divide(p, a, b);
        return b * width_ + a;
    }

private:
    uint64_t width_;
    Divider byHeight_;
};

// Which cycle leaders are done, without a heap allocation: positions below
// kTracked are marked in a bitmap on the stack; a cycle whose members all lie
// above it is led by its smallest member, found by walking it.
class CycleLedger {
public:
    static constexpr uint64_t kTracked = 16 * 1024 * 8;

    // Only the words that can be marked for `positions` positions are cleared.
    explicit CycleLedger(uint64_t positions) {
        const uint64_t words = (std::min(positions, kTracked) + 63) / 64;
        std::fill(bits_, bits_ + words, uint64_t{0});
    }

    bool isNewLeader(uint64_t p, const TransposeSource& source) const {
        if (p < kTracked) return !isMarked(p);
        for (uint64_t q = source(p); q != p; q = source(q))
            if (q < p) return false;
        return true;
    }

    void mark(uint64_t p) {
        if (p < kTracked) bits_[p >> 6] |= uint64_t{1} << (p & 63);
    }

private:
    bool isMarked(uint64_t p) const { return (bits_[p >> 6] >> (p & 63)) & 1u; }

    uint64_t bits_[kTracked / 64];
};

}  // namespace

// Every cycle of the permutation is rotated once, each position pulling its
// value from its source.
void byCycles(int* img, size_t W, size_t H) {
    if (W < 2 || H < 2) return;
    const uint64_t last = uint64_t{W} * H - 1;  // positions 0 and last never move
    const TransposeSource source(W, H);
    CycleLedger ledger(last);
    for (uint64_t start = 1; start < last; ++start) {
        if (!ledger.isNewLeader(start, source)) continue;
        const int held = img[start];
        uint64_t p = start;
        for (uint64_t from = source(p); from != start; from = source(from)) {
            img[p] = img[from];
            ledger.mark(p);
            p = from;
        }
        img[p] = held;
        ledger.mark(p);
    }
}

// Rectangular images up to kStackElements on their longer side use the row and
// column decomposition of the transpose (Catanzaro, Keller and Garland, "A
// decomposition for in-place matrix transposition", PPoPP 2014): with the
// image seen as m rows of n, c = gcd(m, n) and b = n / c,
//   1. column j is rotated down by j / b (nothing to do when c = 1);
//   2. in every row, the element of source row i and column j moves to column
//      (j m + i) mod n;
//   3. in every column, final row r gathers the element of source (i, j) with
//      j m + i = r n + column, which step 1 left in row (i + j / b) mod m.
// Each step moves values only within rows or within columns, through one
// stack buffer, and walks its indices incrementally: no division per element
// and no heap.

namespace {

// v mod n for v below 2 n; written for a conditional move, not a branch.
inline size_t wrap(size_t v, size_t n) {
    const size_t less = v - n;
    return v >= n ? less : v;
}

class LineDecomposition {
public:
    static constexpr size_t kMaxBlock = 16;

    LineDecomposition(int* img, size_t rows, size_t cols)
        : img_(img), m_(rows), n_(cols), b_(cols / std::gcd(rows, cols)) {}

    void run() {
        rotateColumns();
        shuffleRows();
        gatherColumns();
    }

private:
    // Columns go through the buffer a block at a time, as many as fit (and no
    // more than m, which keeps every row offset below 2 m), so that rows are
    // read and written in runs of adjacent values.
    size_t columnsPerBlock() const { return std::min({kMaxBlock, kStackElements / m_, m_}); }

    void loadColumns(size_t first, size_t width) {
        for (size_t i = 0; i < m_; ++i) std::copy(row(i) + first, row(i) + first + width, line_ + i * width);
    }

    void rotateColumns() {
        const size_t block = columnsPerBlock();
        size_t shift[kMaxBlock];
        for (size_t first = b_; first < n_; first += block) {  // the columns below b do not turn
            const size_t width = std::min(block, n_ - first);
            loadColumns(first, width);
            // Row r of column j takes row (r - j / b) mod m, with 0 < j / b < gcd(m, n) <= m.
            for (size_t k = 0; k < width; ++k) shift[k] = m_ - (first + k) / b_;
            for (size_t r = 0; r < m_; ++r) {
                int* out = row(r) + first;
                for (size_t k = 0; k < width; ++k) out[k] = line_[wrap(r + shift[k], m_) * width + k];
            }
        }
    }

    void shuffleRows() {
        const size_t mModN = m_ % n_;
        const size_t twoMModN = wrap(2 * mModN, n_);
        const size_t lastRowModN = (m_ - 1) % n_;
        size_t rowModN = 0;
        for (size_t r = 0; r < m_; ++r, rowModN = wrap(rowModN + 1, n_)) {
            // Source row i of the element in column j (as i mod n), and j m mod n
            // for the even and the odd columns of a pair, two chains side by side.
            size_t i = r, iModN = rowModN, jm = 0;
            int* line = row(r);
            for (size_t group = 0; group * b_ < n_; ++group) {
                if (group > 0) {  // each rotation group comes from one row further up
                    iModN = i == 0 ? lastRowModN : (iModN == 0 ? n_ - 1 : iModN - 1);
                    i = i == 0 ? m_ - 1 : i - 1;
                }
                const size_t end = (group + 1) * b_;
                size_t j = group * b_;
                size_t jmOdd = wrap(jm + mModN, n_);
                for (; j + 1 < end; j += 2) {
                    line_[wrap(jm + iModN, n_)] = line[j];
                    line_[wrap(jmOdd + iModN, n_)] = line[j + 1];
                    jm = wrap(jm + twoMModN, n_);
                    jmOdd = wrap(jmOdd + twoMModN, n_);
                }
                if (j < end) {
                    line_[wrap(jm + iModN, n_)] = line[j];
                    jm = jmOdd;
                }
            }
            std::copy(line_, line_ + n_, line);
        }
    }

    // With col < n, the group j / b of the element that lands in row r is
    // (col + r n) / lcm(m, n) = r / a with a = m / gcd(m, n): the same for
    // every column. Its source row i = (col + r n) mod m steps by n mod m, and
    // column col + k reads k rows further down.
    void gatherColumns() {
        const size_t a = m_ / (n_ / b_);
        const size_t iStep = n_ % m_;
        const size_t block = columnsPerBlock();
        for (size_t first = 0; first < n_; first += block) {
            const size_t width = std::min(block, n_ - first);
            loadColumns(first, width);
            size_t i = first % m_;
            int* out = row(0) + first;
            for (size_t group = 0; group * a < m_; ++group) {
                for (size_t r = 0; r < a; ++r, out += n_) {
                    const size_t from = wrap(i + group, m_);  // group < gcd(m, n) <= m
                    for (size_t k = 0; k < width; ++k) out[k] = line_[wrap(from + k, m_) * width + k];
                    i = wrap(i + iStep, m_);
                }
            }
        }
    }

    int* row(size_t r) { return img_ + r * n_; }
    int* img_;
    size_t m_;
    size_t n_;
    size_t b_;
    int line_[kStackElements];
};

}  // namespace

void byLines(int* img, size_t W, size_t H) {
    if (W < 2 || H < 2 || std::max(W, H) > kStackElements) return;
    LineDecomposition(img, H, W).run();
}

void throughStack(int* img, size_t W, size_t H) {
    if (W * H > kStackElements) return;
    int copy[kStackElements];
    std::copy(img, img + W * H, copy);
    for (size_t y = 0; y < H; ++y)
        for (size_t x = 0; x < W; ++x) img[x * H + y] = copy[y * W + x];
}

}  // namespace transpose
}  // namespace velmo
