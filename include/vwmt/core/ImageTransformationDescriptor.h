#pragma once

// The crop and resize history of an image as one axis-aligned affine map from
// source pixels to current pixels: current = scale * source + offset, i.e. the
// row-major matrix [[scaleX, 0, offsetX], [0, scaleY, offsetY], [0, 0, 1]].
//
// Example: a 4000 x 3000 image cropped to (100, 50, 2000, 1600) and resized to
// 1000 x 800 has scale 0.5 and offset (-50, -25); its integrated parameters
// are the crop (100, 50, 2000, 1600) on the source, resized to 1000 x 800.

#include "velmoExport.h"

namespace VWMT {

class VELMO_EXPORT ImageTransformationDescriptor {
public:
    ImageTransformationDescriptor(int width, int height);

    // Crops the current image to the rectangle at (x, y) of width x height.
    void applyCropping(float x, float y, float width, float height);
    // Resizes the current image to width x height.
    void applyResizing(float width, float height);

    // out = a * b for row-major 3 x 3 float matrices; out must not alias a or b.
    static void matmul(float (*out)[3], float (*a)[3], float (*b)[3]);

    void getCurrentMat(float (*m)[3]);
    // Takes the scales and offsets from m; the sizes stay.
    void updateFromMat(float (*m)[3]);
    // The inverse map, current pixels to source pixels. A zero scale gives infinities.
    void getInvMat(float (*m)[3]);

    // Six floats: the crop rectangle on the source (x, y, width, height), then
    // the size it is resized to (width, height).
    void getIntegratedCroppingAndResizingParameter(float* out);

    static void printMat(float (*m)[3]);
    void printCurrentMatrix();
    void printIntegratedCroppingAndResizingParameter();

private:
    float srcW_;
    float srcH_;
    float curW_;
    float curH_;
    float scaleX_;
    float scaleY_;
    float offsetX_;
    float offsetY_;
};

}  // namespace VWMT
