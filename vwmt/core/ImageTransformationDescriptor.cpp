#include "vwmt/core/ImageTransformationDescriptor.h"

#include <cstdio>

#include "common/Numerics.h"

namespace VWMT {

ImageTransformationDescriptor::ImageTransformationDescriptor(int width, int height)
    : srcW_(static_cast<float>(width)),
      srcH_(static_cast<float>(height)),
      curW_(static_cast<float>(width)),
      curH_(static_cast<float>(height)),
      scaleX_(1.0f),
      scaleY_(1.0f),
      offsetX_(0.0f),
      offsetY_(0.0f) {}

namespace {

// Pre-multiplies the map by an operation matrix. Every step goes through a
// full matrix product (rather than updating the scale and offset directly) so
// that zero signs and non-finite values combine the way the composed map
// defines them.
void compose(ImageTransformationDescriptor& map, float (*operation)[3]) {
    float current[3][3];
    float composed[3][3];
    map.getCurrentMat(current);
    ImageTransformationDescriptor::matmul(composed, operation, current);
    map.updateFromMat(composed);
}

}  // namespace

void ImageTransformationDescriptor::applyCropping(float x, float y, float width, float height) {
    float crop[3][3] = {{1.0f, 0.0f, -x}, {0.0f, 1.0f, -y}, {0.0f, 0.0f, 1.0f}};
    compose(*this, crop);
    curW_ = width;
    curH_ = height;
}

void ImageTransformationDescriptor::applyResizing(float width, float height) {
    const float fx = width / curW_;
    const float fy = height / curH_;
    float resize[3][3] = {{fx, 0.0f, 0.0f}, {0.0f, fy, 0.0f}, {0.0f, 0.0f, 1.0f}};
    compose(*this, resize);
    curW_ = width;
    curH_ = height;
}

void ImageTransformationDescriptor::matmul(float (*out)[3], float (*a)[3], float (*b)[3]) {
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            float sum = 0.0f;
            for (int k = 0; k < 3; ++k) sum = sum + a[i][k] * b[k][j];
            out[i][j] = sum;
        }
    }
}

void ImageTransformationDescriptor::getCurrentMat(float (*m)[3]) {
    m[0][0] = scaleX_;
    m[0][1] = 0.0f;
    m[0][2] = offsetX_;
    m[1][0] = 0.0f;
    m[1][1] = scaleY_;
    m[1][2] = offsetY_;
    m[2][0] = 0.0f;
    m[2][1] = 0.0f;
    m[2][2] = 1.0f;
}

void ImageTransformationDescriptor::updateFromMat(float (*m)[3]) {
    scaleX_ = m[0][0];
    scaleY_ = m[1][1];
    offsetX_ = m[0][2];
    offsetY_ = m[1][2];
}

void ImageTransformationDescriptor::getInvMat(float (*m)[3]) {
    m[0][0] = 1.0f / scaleX_;
    m[0][1] = 0.0f;
    m[0][2] = -offsetX_ / scaleX_;
    m[1][0] = 0.0f;
    m[1][1] = 1.0f / scaleY_;
    m[1][2] = -offsetY_ / scaleY_;
    m[2][0] = 0.0f;
    m[2][1] = 0.0f;
    m[2][2] = 1.0f;
}

void ImageTransformationDescriptor::getIntegratedCroppingAndResizingParameter(float* out) {
    // 1-2. The current image's corners (0, 0) and (curW, curH), as columns,
    // mapped back to source pixels.
    float inverse[3][3];
    getInvMat(inverse);
    float corners[3][3] = {{0.0f, curW_, 0.0f}, {0.0f, curH_, 0.0f}, {1.0f, 1.0f, 1.0f}};
    float source[3][3];
    matmul(source, inverse, corners);

    // 3. Crop rectangle on the source, then the size it is resized to.
    out[0] = source[0][0];
    out[1] = source[1][0];
    out[2] = source[0][1] - source[0][0];
    out[3] = source[1][1] - source[1][0];
    out[4] = curW_;
    out[5] = curH_;
}

// The off-diagonal places print as integers: they are always 0 for this map.
void ImageTransformationDescriptor::printMat(float (*m)[3]) {
    using velmo::printable;
    using velmo::toInt32;
    std::printf("| %8.5f, %8d, %11.5f |\n", printable(m[0][0]), toInt32(m[0][1]), printable(m[0][2]));
    std::printf("| %8d, %8.5f, %11.5f |\n", toInt32(m[1][0]), printable(m[1][1]), printable(m[1][2]));
    std::printf("| %8d, %8d, %11.5f |\n", toInt32(m[2][0]), toInt32(m[2][1]), printable(m[2][2]));
    std::printf("\n");
}

void ImageTransformationDescriptor::printCurrentMatrix() {
    float current[3][3];
    getCurrentMat(current);
    printMat(current);
}

void ImageTransformationDescriptor::printIntegratedCroppingAndResizingParameter() {
    using velmo::printable;
    float p[6];
    getIntegratedCroppingAndResizingParameter(p);
    std::printf("output:\n");
    std::printf("  crop_on_sensor:\n");
    std::printf("    x_in_pixel:    %9.2f\n", printable(p[0]));
    std::printf("    y_in_pixel:    %9.2f\n", printable(p[1]));
    std::printf("    width_pixels:  %9.2f\n", printable(p[2]));
    std::printf("    height_pixels: %9.2f\n", printable(p[3]));
    std::printf("\n");
    std::printf("  resized:\n");
    std::printf("    width_pixels:  %9.2f\n", printable(p[4]));
    std::printf("    height_pixels: %9.2f\n", printable(p[5]));
    std::printf("\n");
}

}  // namespace VWMT
