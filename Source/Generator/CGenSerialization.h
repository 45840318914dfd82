#pragma once

// Boost.Serialization pieces shared by the stored classes. Every stored class
// names its fields with make_nvp so that text, binary and XML archives agree
// on the field order and the XML form is readable.

#include <boost/serialization/access.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/map.hpp>
#include <boost/serialization/nvp.hpp>
#include <boost/serialization/split_member.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/vector.hpp>
#include <boost/serialization/version.hpp>

// Class version of a class template, for every instantiation at once.
#define ZKG_TEMPLATE_CLASS_VERSION(TEMPLATE, N)                          \
    namespace boost::serialization {                                     \
    template <class T>                                                   \
    struct version<TEMPLATE<T>> {                                        \
        typedef mpl::int_<N> type;                                       \
        typedef mpl::integral_c_tag tag;                                 \
        BOOST_STATIC_CONSTANT(int, value = version::type::value);        \
    };                                                                   \
    }

namespace zkgen {

// Boost reads an archive of a newer class version as if it were the current
// one; a stored class calls this first in its load so that such an archive
// fails instead, with a log line naming the class.
void RefuseNewerClassVersion(const char* className, unsigned int version, unsigned int known);

// For loads of values that bypass their setters (enumerations, counts, metre
// values): a read value outside [min, max] is damage, and the read throws.
void CheckArchiveRange(long long value, long long min, long long max, const char* what);
// The same for a length in beats: undefined, or 0 to max; NaN is damage.
void CheckArchiveLength(float value, float max, const char* what);

} // namespace zkgen
