#include "tests/model/LocationChoice.h"

#include "hostapi/storage/provider/ShortNamespace.h"

namespace storage::inmemoryprovider::tests {

using provider::StorageIRI;

StorageIRI resolve(const LocationChoice& choice, const ReferenceModel& model) {
    const auto path = resolve(choice.path, model);
    switch (choice.form) {
    case LocationChoice::Form::ResolvedApart:
        return StorageIRI(path, resolve(choice.given, model), StorageIRI(path).hasParent());
    case LocationChoice::Form::ClaimsRoot:
        return StorageIRI(path, resolve(choice.given, model), false);
    case LocationChoice::Form::ClaimsHasParent:
        return StorageIRI(path, path, true);
    case LocationChoice::Form::Plain:
        break;
    }
    return StorageIRI(path);
}

} // namespace storage::inmemoryprovider::tests
