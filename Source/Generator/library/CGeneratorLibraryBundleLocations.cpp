#include "Generator/library/CGeneratorLibraryBundleLocations.h"

void CGeneratorLibraryBundleLocations::SetRootURL(const TGenUrl& url)
{
    if (url.empty()) {
        mRoot.clear();
        return;
    }
    // A root that doesn't exist yet (a bundle about to be made) stays as given.
    const auto resolved = ZKFileResolveLinks(url);
    mRoot = resolved ? *resolved : url;
}

namespace GeneratorLibraryBundleLocations {

std::shared_ptr<IGeneratorLibraryBundleLocations> createGeneratorBundleLocations(const TGenUrl& url)
{
    return std::make_shared<CGeneratorLibraryBundleLocations>(url);
}

std::shared_ptr<IGeneratorLibraryBundleLocationsInternal> createGeneratorBundleLocationsInternal(const TGenUrl& url)
{
    return std::make_shared<CGeneratorLibraryBundleLocations>(url);
}

} // namespace GeneratorLibraryBundleLocations
