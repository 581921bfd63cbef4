// The reference evaluation of the multiharmonic AoV recurrence, one point at a time with the
// library's sine and cosine.
#include <cmath>

#include "analysis/periods/aov_finish.inc"
#include "analysis/periods/aov_kernel.h"

namespace kurvalux_analysis {

void AovKernelScalar(const AovKernelData& data, int harmonics, const double* omegas, size_t count,
                     double* scratch, AovValue* out, double* coefficients) {
    const size_t m = data.count;
    const size_t stride = data.padded;
    double* zr = scratch;
    double* zi = scratch + stride;
    double* pr = scratch + 2 * stride;  // w * psi
    double* pi = scratch + 3 * stride;
    double* fr = scratch + 4 * stride;  // phi_n
    double* fi = scratch + 5 * stride;
    double* nr = scratch + 6 * stride;  // z^n
    double* ni = scratch + 7 * stride;
    const int last = 2 * harmonics;
    double c[2 * (2 * kAovMaxHarmonics + 1)];

    for (size_t k = 0; k < count; ++k) {
        const double omega = omegas[k];
        // z, w*psi = w x' z^nh, and the sums of the order 0: phi_0 = 1.
        double proj_r = 0, proj_i = 0, wz_r = 0, wz_i = 0;
        for (size_t i = 0; i < m; ++i) {
            const double angle = omega * data.t[i];
            const double cr = std::cos(angle), ci = std::sin(angle);
            zr[i] = cr;
            zi[i] = ci;
            double hr = cr, hi = ci;
            for (int h = 1; h < harmonics; ++h) {
                const double tr = hr * cr - hi * ci;
                hi = hr * ci + hi * cr;
                hr = tr;
            }
            pr[i] = data.wx[i] * hr;
            pi[i] = data.wx[i] * hi;
            proj_r += pr[i];
            proj_i += pi[i];
            wz_r += data.w[i] * cr;
            wz_i += data.w[i] * ci;
        }
        double norm = data.weight_sum;
        double root = std::sqrt(norm);
        c[0] = proj_r / root;
        c[1] = proj_i / root;
        double ar = wz_r / norm, ai = wz_i / norm;
        int n = 1;
        for (; n <= last; ++n) {
            double sum_norm = 0, sum_pr = 0, sum_pi = 0, sum_zr = 0, sum_zi = 0;
            for (size_t i = 0; i < m; ++i) {
                double phr, phi, znr, zni;
                if (n == 1) {
                    phr = zr[i] - ar;
                    phi = zi[i] - ai;
                    znr = zr[i];
                    zni = zi[i];
                } else {
                    const double br = n == 2 ? zr[i] : nr[i];
                    const double bi = n == 2 ? zi[i] : ni[i];
                    // z phi - alpha z^(n-1) conj(phi)
                    const double qr = br * fr[i] + bi * fi[i];
                    const double qi = bi * fr[i] - br * fi[i];
                    phr = zr[i] * fr[i] - zi[i] * fi[i] - (ar * qr - ai * qi);
                    phi = zr[i] * fi[i] + zi[i] * fr[i] - (ar * qi + ai * qr);
                    znr = zr[i] * br - zi[i] * bi;
                    zni = zr[i] * bi + zi[i] * br;
                }
                fr[i] = phr;
                fi[i] = phi;
                nr[i] = znr;
                ni[i] = zni;
                sum_norm += data.w[i] * (phr * phr + phi * phi);
                sum_pr += phr * pr[i] + phi * pi[i];
                sum_pi += phr * pi[i] - phi * pr[i];
                sum_zr += data.w[i] * (zr[i] * phr - zi[i] * phi);
                sum_zi += data.w[i] * (zr[i] * phi + zi[i] * phr);
            }
            if (!(sum_norm > kAovTinyNorm * data.weight_sum)) break;
            norm = sum_norm;
            root = std::sqrt(norm);
            c[2 * n] = sum_pr / root;
            c[2 * n + 1] = sum_pi / root;
            ar = sum_zr / norm;
            ai = sum_zi / norm;
        }
        for (; n <= last; ++n) c[2 * n] = c[2 * n + 1] = 0;
        out[k] = FinishAov(c, harmonics, m, data.variance);
        if (coefficients)
            for (int j = 0; j < 2 * (last + 1); ++j) coefficients[k * 2 * (last + 1) + j] = c[j];
    }
}

}  // namespace kurvalux_analysis
