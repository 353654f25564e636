// SPDX-License-Identifier: MIT
#ifndef CELUMBRANT_BENCH_HDR_RANGE_SCALAR_H_
#define CELUMBRANT_BENCH_HDR_RANGE_SCALAR_H_

// The straightforward loop over an HDR picture: least, most and mean, pixel by pixel.
void scalar_hdr_range(int iMax, int jMax, const unsigned char* rgbe, const float* lutE,
                      float* pixDim);

#endif
