// Golden answers of the peer libraries, written by the scripts under tests/peers/ and committed:
// one matrix per line, "name rows cols v0 v1 ...", read into matrices of any element type.
#pragma once

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support.h"

namespace mutils::test {

struct PeerMatrix {
    int32_t rows = 0, cols = 0;
    std::vector<double> v;
};

/// The matrices of tests/data/peers/<file>, by name (empty when the file is missing).
inline std::map<std::string, PeerMatrix> read_peer_file(const std::string& file) {
    std::map<std::string, PeerMatrix> out;
    std::ifstream in(std::string(MUTILS_TEST_DATA_DIR) + "/peers/" + file);
    std::string text;
    while (std::getline(in, text)) {
        std::istringstream s(text);
        std::string name;
        PeerMatrix m;
        s >> name >> m.rows >> m.cols;
        m.v.resize(std::size_t(m.rows) * std::size_t(m.cols));
        for (double& x : m.v) {  // strtod also reads "inf" and "nan"
            std::string token;
            s >> token;
            x = std::strtod(token.c_str(), nullptr);
        }
        out[name] = m;
    }
    return out;
}

/// A peer matrix as a universal matrix of element type T (values cast).
template <class T> _univ_mat peer_as(const PeerMatrix& m) {
    std::vector<T> v(m.v.begin(), m.v.end());
    return make_univ<T>(m.rows, m.cols, v);
}

/// The elements of a real universal matrix as doubles.
inline std::vector<double> as_doubles(const _univ_mat& u) {
    _univ_mat d;
    matuniv_malloc(&d, u.nrow, u.ncol, MUTIL_DOUBLE);
    matuniv_cast(&u, 0, nullptr, &d);
    return values_of<double>(d);
}

/// Largest absolute difference between two equally long vectors (infinity when lengths differ).
inline double max_diff(const std::vector<double>& a, const std::vector<double>& b) {
    if (a.size() != b.size() || a.empty()) return 1e300;
    double d = 0;
    for (std::size_t i = 0; i < a.size(); ++i) d = std::max(d, std::abs(a[i] - b[i]));
    return d;
}

}  // namespace mutils::test
