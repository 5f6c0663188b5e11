#include "common/Trig.h"

#include <cmath>

namespace velmo {
namespace trig {

double sin(double x) { return std::sin(x); }
double cos(double x) { return std::cos(x); }
double tan(double x) { return std::tan(x); }
double atan(double x) { return std::atan(x); }

void sincos(double x, double* s, double* c) {
    *s = std::sin(x);
    *c = std::cos(x);
}

float tanf(float x) { return static_cast<float>(std::tan(static_cast<double>(x))); }
float sinf(float x) { return static_cast<float>(std::sin(static_cast<double>(x))); }
float cosf(float x) { return static_cast<float>(std::cos(static_cast<double>(x))); }

void sincosf(float x, float* s, float* c) {
    *s = sinf(x);
    *c = cosf(x);
}

}  // namespace trig
}  // namespace velmo
