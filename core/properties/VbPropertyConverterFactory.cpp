#include "core/properties/VbPropertyConverterFactory.h"

#include "core/properties/VbAnyPropertyConverter.h"
#include "core/properties/VbBoolPropertyConverter.h"
#include "core/properties/VbColorMapPropertyConverter.h"
#include "core/properties/VbColorPropertyConverter.h"
#include "core/properties/VbDoublePropertyConverter.h"
#include "core/properties/VbInt64PropertyConverter.h"
#include "core/properties/VbIntPropertyConverter.h"
#include "core/properties/VbPointPropertyConverter.h"
#include "core/properties/VbRectPropertyConverter.h"
#include "core/properties/VbStringPropertyConverter.h"
#include "core/properties/VbUnsignedLongPropertyConverter.h"
#include "core/properties/VbUnsignedPropertyConverter.h"
#include "core/properties/VbVectorPropertyConverter.h"

namespace core {

namespace {

// The thirteen factories, constructed (and so registered) in key order.
struct AllConverterFactories {
    VbAnyPropertyConverterFactory any;
    VbBoolPropertyConverterFactory boolean;
    VbColorPropertyConverterFactory color;
    VbColorMapPropertyConverterFactory colorMap;
    VbDoublePropertyConverterFactory real;
    VbIntPropertyConverterFactory integer;
    VbInt64PropertyConverterFactory integer64;
    VbPointPropertyConverterFactory point;
    VbRectPropertyConverterFactory rect;
    VbStringPropertyConverterFactory string;
    VbUnsignedPropertyConverterFactory whole;
    VbUnsignedLongPropertyConverterFactory wholeLong;
    VbVectorPropertyConverterFactory vector;
};

// Converters exist from the moment the library is loaded.
[[maybe_unused]] const bool s_FactoriesReady = (VbPropertyConverterFactory::EnsureFactoriesAreInitialized(), true);

} // namespace

void VbPropertyConverterFactory::EnsureFactoriesAreInitialized()
{
    // Made once, on the first call (thread-safe), whatever the order of static
    // initialisation of the libraries that ask for converters.
    static const AllConverterFactories factories;
    (void)factories;
}

} // namespace core
