#pragma once

// The library's only door to transcendental functions. glibc's float
// functions are not correctly rounded and give other last bits on x86-64 and
// arm64; the float versions here are the double functions rounded to float,
// which agree on both. The double versions call the C library.

namespace velmo {
namespace trig {

double sin(double x);
double cos(double x);
double tan(double x);
double atan(double x);
void sincos(double x, double* s, double* c);

float tanf(float x);
float sinf(float x);
float cosf(float x);
void sincosf(float x, float* s, float* c);

}  // namespace trig
}  // namespace velmo
