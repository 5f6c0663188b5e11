#pragma once

// Per-frame records of the OIS warp-grid transformer: the frame's vectors and
// image geometry in, the caller's fixed-point grid planes out. Plain
// aggregates owned by the caller; their layouts are part of the ABI.

#include <cstddef>
#include <cstdint>

// How the OIS vectors become a grid (any other value runs no transform).
enum VWMT_DIRECTION : int32_t {
    VWMT_DIRECTION_FORWARD = 0,            // forward map, crop centred symmetrically
    VWMT_DIRECTION_BACKWARD_VERTICAL = 1,  // backward map of a vertical module (90/270 swap the content)
    VWMT_DIRECTION_BACKWARD = 2,           // backward map without that swap
};

struct VWMTSize {
    int32_t w;
    int32_t h;
};

struct VWMTRect {
    int32_t x;
    int32_t y;
    int32_t w;
    int32_t h;
};

// How the sensor image became the image the grid refers to.
struct ImgSizeDescription {
    VWMTSize sensorSize;   // full sensor
    VWMTRect analogCrop;   // crop taken on the sensor
    VWMTSize binningSize;  // after binning
    VWMTRect digitalCrop;
    VWMTRect tgCrop;       // crop of the timing-generator output
    VWMTRect p1Crop;       // crop in the front-end stage
    VWMTSize p1Resize;     // after the front-end resizer
};

struct VWMTImageSize {
    VWMTSize size;
};

struct VWMTImageCrop {
    VWMTRect size;
};

// The output image chain and the output grid.
struct GridFromOisParam {
    VWMTImageSize srcImg;   // source image
    VWMTImageSize rzImg;    // resized image (0 x 0: not resized)
    VWMTImageCrop CropImg;  // crop of the resized image (0 x 0: not cropped)
    VWMTImageSize rotImg;   // rotated image (0 x 0: the crop size)
    int32_t content_w;      // grid columns that carry data
    int32_t content_h;      // grid rows that carry data
    int32_t buffer_size;    // row pitch and row count of the square output planes
    float rotAngle;         // degrees
};

struct VWMTInput {
    double* inOisX;  // vect_w x vect_h horizontal OIS shifts in pixels, row-major
    double* inOisY;  // vertical shifts, same shape
    int32_t vect_w;
    int32_t vect_h;
    VWMT_DIRECTION dir;
    ImgSizeDescription imgSizeDesc;
    GridFromOisParam gridParam;
};

// Each plane holds buffer_size x buffer_size entries; only the top-left
// content_w x content_h block is written, in pixels x 32 (5 fractional bits).
struct VWMTOutput {
    int32_t* gridX;
    int32_t* gridY;
    int32_t* gridWeight;  // optional; 16384 (1.0 in Q14) where written
};

static_assert(sizeof(VWMT_DIRECTION) == 4, "VWMT_DIRECTION is 32-bit");
static_assert(sizeof(ImgSizeDescription) == 88, "ImgSizeDescription layout");
static_assert(offsetof(ImgSizeDescription, analogCrop) == 8, "ImgSizeDescription layout");
static_assert(offsetof(ImgSizeDescription, binningSize) == 24, "ImgSizeDescription layout");
static_assert(offsetof(ImgSizeDescription, digitalCrop) == 32, "ImgSizeDescription layout");
static_assert(offsetof(ImgSizeDescription, tgCrop) == 48, "ImgSizeDescription layout");
static_assert(offsetof(ImgSizeDescription, p1Crop) == 64, "ImgSizeDescription layout");
static_assert(offsetof(ImgSizeDescription, p1Resize) == 80, "ImgSizeDescription layout");
static_assert(sizeof(GridFromOisParam) == 56, "GridFromOisParam layout");
static_assert(offsetof(GridFromOisParam, rzImg) == 8, "GridFromOisParam layout");
static_assert(offsetof(GridFromOisParam, CropImg) == 16, "GridFromOisParam layout");
static_assert(offsetof(GridFromOisParam, rotImg) == 32, "GridFromOisParam layout");
static_assert(offsetof(GridFromOisParam, content_w) == 40, "GridFromOisParam layout");
static_assert(offsetof(GridFromOisParam, buffer_size) == 48, "GridFromOisParam layout");
static_assert(offsetof(GridFromOisParam, rotAngle) == 52, "GridFromOisParam layout");
#if UINTPTR_MAX == 0xffffffffffffffffu
static_assert(offsetof(VWMTInput, vect_w) == 16, "VWMTInput layout");
static_assert(offsetof(VWMTInput, dir) == 24, "VWMTInput layout");
static_assert(offsetof(VWMTInput, imgSizeDesc) == 28, "VWMTInput layout");
static_assert(offsetof(VWMTInput, gridParam) == 116, "VWMTInput layout");
static_assert(sizeof(VWMTInput) == 176, "VWMTInput layout");
static_assert(sizeof(VWMTOutput) == 24, "VWMTOutput layout");
#endif
