#include "Generator/CGenSafeArchive.h"

#include "Generator/CGenSerialization.h"
#include "Generator/CGenTypes.h"

// The archive templates' bodies, instantiated here for the two archives.
#include <boost/archive/impl/archive_serializer_map.ipp>
#include <boost/archive/impl/basic_binary_iarchive.ipp>
#include <boost/archive/impl/basic_binary_iprimitive.ipp>
#include <boost/archive/impl/basic_text_iarchive.ipp>
#include <boost/archive/impl/basic_text_iprimitive.ipp>
#include <boost/archive/impl/text_iarchive_impl.ipp>
#include <boost/core/demangle.hpp>
#include <boost/serialization/void_cast.hpp>

#include <string>

namespace boost::archive {
template class detail::archive_serializer_map<zkgen::TSafeTextIArchive>;
template class basic_text_iarchive<zkgen::TSafeTextIArchive>;
template class text_iarchive_impl<zkgen::TSafeTextIArchive>;
template class detail::archive_serializer_map<zkgen::TSafeBinaryIArchive>;
template class basic_binary_iprimitive<zkgen::TSafeBinaryIArchive, char, std::char_traits<char>>;
template class basic_binary_iarchive<zkgen::TSafeBinaryIArchive>;
template class binary_iarchive_impl<zkgen::TSafeBinaryIArchive, char, std::char_traits<char>>;
} // namespace boost::archive

namespace zkgen {

// ---------------------------------------------------------------------------
// TArchiveBytes

TArchiveBytes::TArchiveBytes(const void* data, std::size_t size)
{
    char* begin = const_cast<char*>(static_cast<const char*>(data));
    setg(begin, begin, begin + size);
}

TArchiveBytes::pos_type TArchiveBytes::seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which)
{
    if (!(which & std::ios_base::in))
        return pos_type(off_type(-1));
    off_type base = 0;
    if (dir == std::ios_base::cur)
        base = gptr() - eback();
    else if (dir == std::ios_base::end)
        base = egptr() - eback();
    const off_type target = base + off;
    if (target < 0 || target > egptr() - eback())
        return pos_type(off_type(-1));
    setg(eback(), eback() + target, egptr());
    return pos_type(target);
}

TArchiveBytes::pos_type TArchiveBytes::seekpos(pos_type pos, std::ios_base::openmode which)
{
    return seekoff(off_type(pos), std::ios_base::beg, which);
}

void CheckArchiveRange(long long value, long long min, long long max, const char* what)
{
    if (value < min || value > max)
        throw TArchiveRefused(std::string("the archive gives ") + what + " " + std::to_string(value) + ", outside "
            + std::to_string(min) + " to " + std::to_string(max));
}

void CheckArchiveLength(float value, float max, const char* what)
{
    if (value == TGenBeatLength_Undef || (value >= 0.0f && value <= max))
        return;
    throw TArchiveRefused(std::string("the archive gives ") + what + " " + std::to_string(value) + ", outside 0 to "
        + std::to_string(max));
}

// ---------------------------------------------------------------------------
// TArchiveGuard

namespace {
std::string ClassName(const boost::archive::detail::basic_iserializer& bis)
{
    // Exported classes by their key; others by their C++ name, without the
    // project's namespace.
    const char* key = bis.get_eti().get_key();
    std::string name = key ? std::string(key) : boost::core::demangle(bis.get_debug_info());
    if (name.rfind("zkgen::", 0) == 0)
        name.erase(0, 7);
    return name;
}
} // namespace

void TArchiveGuard::CheckCount(std::uint64_t count, std::size_t perElement, const char* what) const
{
    // Each element takes at least `perElement` bytes, so a count beyond that
    // is damage however the elements are made: refuse it before anything
    // is allocated for them.
    if (perElement > 0 && count > mSource.Remaining() / perElement)
        throw TArchiveRefused(std::string("the archive gives ") + what + " " + std::to_string(count)
            + ", more than its remaining " + std::to_string(mSource.Remaining()) + " bytes can hold");
}

void TArchiveGuard::CheckBool(unsigned int raw) const
{
    if (raw > 1)
        throw TArchiveRefused("the archive gives " + std::to_string(raw) + " for a value that is true or false");
}

void TArchiveGuard::CheckStringLength(std::uint64_t length) const
{
    CheckCount(length, 1, "a text of length");
}

void TArchiveGuard::RegisterClass(const TBasicISerializer& bis)
{
    // Objects of one class usually come in runs.
    if (&bis == mLastClass)
        return;
    mLastClass = &bis;
    const auto* eti = &bis.get_eti();
    if (mClassIds.count(eti))
        return;
    mClassIds.emplace(eti, static_cast<int>(mClasses.size()));
    mClasses.push_back(&bis);
}

void TArchiveGuard::BeginObject(void* address, const TBasicISerializer& bis, bool tracked)
{
    RegisterClass(bis);
    mVersionOf = &bis;
    // Only tracked objects can be borrowed; most objects are small values
    // that are not, and recording them all cost a third of a library load.
    if (tracked)
        mObjects.emplace(address, &bis.get_eti());
}

void TArchiveGuard::BeginPointer(const TBasicPointerISerializer* staticPointer, TFinder finder)
{
    mPointerStatic = staticPointer;
    mPointerFinder = finder;
    mExpectPointerClassId = true;
}

void TArchiveGuard::OnClassId(int classId)
{
    if (!mExpectPointerClassId)
        return;
    mExpectPointerClassId = false;
    if (classId == -1) // the null pointer
        return;
    const int known = static_cast<int>(mClasses.size());
    if (classId < 0 || classId > known)
        throw TArchiveRefused("the archive gives class id " + std::to_string(classId) + " where " + std::to_string(known)
            + " classes are known");
    if (classId == known) {
        // A new class: for a pointer to a class without derived classes the
        // archive already knows that class, so a new id cannot be right;
        // otherwise the class's name follows.
        if (mPointerStatic && !mPointerStatic->get_basic_serializer().is_polymorphic())
            throw TArchiveRefused("the archive gives a new class id " + std::to_string(classId)
                + " for a pointer to the known class " + ClassName(mPointerStatic->get_basic_serializer()));
        mExpectNewClassName = true;
        return;
    }
    const TBasicISerializer* bis = mClasses[static_cast<std::size_t>(classId)];
    if (bis->get_bpis_ptr() == nullptr)
        throw TArchiveRefused("the archive gives the class " + ClassName(*bis) + " to a pointer; it is never read through one");
    mVersionOf = bis;
}

void TArchiveGuard::OnClassName(const char* key)
{
    if (!mExpectNewClassName)
        return;
    mExpectNewClassName = false;
    const boost::serialization::extended_type_info* eti = boost::serialization::extended_type_info::find(key);
    if (eti == nullptr)
        throw TArchiveRefused(std::string("the archive names the unknown class \"") + key + "\"");
    const TBasicPointerISerializer* bpis = mPointerFinder ? mPointerFinder(*eti) : nullptr;
    if (bpis == nullptr)
        throw TArchiveRefused(std::string("the archive names the class \"") + key + "\", which this archive cannot read");
    const TBasicISerializer& bis = bpis->get_basic_serializer();
    if (mClassIds.count(&bis.get_eti()))
        throw TArchiveRefused(std::string("the archive gives a second class id to the class \"") + key + "\"");
    RegisterClass(bis);
    mVersionOf = &bis;
}

void TArchiveGuard::OnClassVersion(unsigned int version)
{
    const TBasicISerializer* bis = mVersionOf;
    mVersionOf = nullptr;
    if (bis == nullptr)
        return;
    const unsigned int known = bis->version();
    if (version > known)
        RefuseNewerClassVersion(ClassName(*bis).c_str(), version, known);
}

bool TArchiveGuard::HasReadObject(const void* address, const boost::serialization::extended_type_info& eti) const
{
    const auto [first, last] = mObjects.equal_range(address);
    for (auto it = first; it != last; ++it)
        if (it->second == &eti || boost::serialization::void_upcast(*it->second, eti, address) != nullptr)
            return true;
    return false;
}

TArchiveGuard::TDepth::TDepth(TArchiveGuard& guard) : mGuard(guard)
{
    if (++mGuard.mDepth > kArchiveMaxDepth) {
        --mGuard.mDepth;
        throw TArchiveRefused("the archive nests objects deeper than " + std::to_string(kArchiveMaxDepth) + " levels");
    }
}

// ---------------------------------------------------------------------------
// The archives. Their hooks are the same; only the formats differ.

#define ZKG_SAFE_ARCHIVE_HOOKS(ARCHIVE)                                                                            \
    void ARCHIVE::load_object(void* t, const TBasicISerializer& bis)                                              \
    {                                                                                                             \
        TDepth depth(*this);                                                                                      \
        BeginObject(t, bis, bis.tracking(this->get_flags()));                                                     \
        TBase::load_object(t, bis);                                                                               \
    }                                                                                                             \
    const ARCHIVE::TBasicPointerISerializer* ARCHIVE::load_pointer(                                               \
        void*& t, const TBasicPointerISerializer* bpis, TFinder finder)                                           \
    {                                                                                                             \
        BeginPointer(bpis, finder);                                                                               \
        return TBase::load_pointer(t, bpis, finder);                                                              \
    }                                                                                                             \
    void ARCHIVE::register_basic_serializer(const TBasicISerializer& bis)                                         \
    {                                                                                                             \
        RegisterClass(bis);                                                                                       \
        TBase::register_basic_serializer(bis);                                                                    \
    }                                                                                                             \
    void ARCHIVE::load_override(boost::archive::class_id_type& t)                                                 \
    {                                                                                                             \
        TBase::load_override(t);                                                                                  \
        OnClassId(static_cast<int>(t));                                                                           \
    }                                                                                                             \
    void ARCHIVE::load_override(boost::archive::class_name_type& t)                                               \
    {                                                                                                             \
        TBase::load_override(t);                                                                                  \
        OnClassName(t);                                                                                           \
    }                                                                                                             \
    void ARCHIVE::load_override(boost::archive::version_type& t)                                                  \
    {                                                                                                             \
        TBase::load_override(t);                                                                                  \
        OnClassVersion(static_cast<unsigned int>(t));                                                             \
    }

// -- text

TSafeTextIArchive::TSafeTextIArchive(const void* data, std::size_t size, unsigned int flags)
    : detail::TArchiveSource(data, size), TBase(mStream, flags), TArchiveGuard(detail::TArchiveSource::mBytes)
{
    if (0 == (flags & boost::archive::no_header))
        init();
}

TSafeTextIArchive::~TSafeTextIArchive() = default;

ZKG_SAFE_ARCHIVE_HOOKS(TSafeTextIArchive)

void TSafeTextIArchive::load_override(boost::serialization::collection_size_type& t)
{
    TBase::load_override(t);
    // An element is written as at least one character and a separator.
    CheckCount(static_cast<std::size_t>(t), 2, "a collection of size");
}

void TSafeTextIArchive::load(std::string& s)
{
    std::size_t size = 0;
    *this->This() >> size;
    is.get(); // the separating space
    CheckStringLength(size);
    s.resize(size);
    if (size > 0)
        is.read(&s[0], static_cast<std::streamsize>(size));
    if (!is)
        boost::serialization::throw_exception(
            boost::archive::archive_exception(boost::archive::archive_exception::input_stream_error));
}

void TSafeTextIArchive::load(bool& t)
{
    unsigned int raw = 0;
    TBase::load(raw);
    CheckBool(raw);
    t = raw != 0;
}

// -- binary

TSafeBinaryIArchive::TSafeBinaryIArchive(const void* data, std::size_t size, unsigned int flags)
    : detail::TArchiveSource(data, size), TBase(detail::TArchiveSource::mBytes, flags), TArchiveGuard(detail::TArchiveSource::mBytes)
{
    init(flags);
}

TSafeBinaryIArchive::~TSafeBinaryIArchive() = default;

ZKG_SAFE_ARCHIVE_HOOKS(TSafeBinaryIArchive)

void TSafeBinaryIArchive::load_override(boost::serialization::collection_size_type& t)
{
    TBase::load_override(t);
    CheckCount(static_cast<std::size_t>(t), 1, "a collection of size");
}

void TSafeBinaryIArchive::load(std::string& s)
{
    std::size_t size = 0;
    TBase::load(size);
    CheckStringLength(size);
    s.resize(size);
    if (size > 0)
        load_binary(&s[0], size);
}

void TSafeBinaryIArchive::load(bool& t)
{
    // Read as a byte: a stored byte other than 0 or 1 is not a bool.
    unsigned char raw = 0;
    load_binary(&raw, 1);
    CheckBool(raw);
    t = raw != 0;
}

void TSafeBinaryIArchive::load(boost::archive::tracking_type& t)
{
    unsigned char raw = 0;
    load_binary(&raw, 1);
    CheckBool(raw);
    t = boost::archive::tracking_type(raw != 0);
}

#undef ZKG_SAFE_ARCHIVE_HOOKS

} // namespace zkgen
