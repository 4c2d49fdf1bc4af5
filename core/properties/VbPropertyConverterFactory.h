#pragma once
// VbPropertyConverterFactory: makes property converters by their one-byte key.
// One concrete factory per converter registers under the converter's Key();
// EnsureFactoriesAreInitialized makes all thirteen, once, so that Construct
// works from the first static initialiser that needs a converter.
#include "core/properties/VbPropertyConverter.h"
#include "shr/Factory.h"

#include <functional>

namespace core {

class VbPropertyConverterFactory
    : public shr::Factory<VbPropertyConverterFactory, VbPropertyConverter, unsigned char, std::less<unsigned char>> {
public:
    // Creates the factories of keys 1 to 13, in key order, on the first call.
    static void EnsureFactoriesAreInitialized();

protected:
    explicit VbPropertyConverterFactory(unsigned char key) : Factory(key, this) {}
};

// The factory of converter C, registered under C::Key().
template <class C>
class VbConcretePropertyConverterFactory final : public VbPropertyConverterFactory {
public:
    VbConcretePropertyConverterFactory() : VbPropertyConverterFactory(C::Key()) {}

private:
    VbPropertyConverter* ConstructImpl() const override { return new C; }
};

class VbAnyPropertyConverter;
class VbBoolPropertyConverter;
class VbColorPropertyConverter;
class VbColorMapPropertyConverter;
class VbDoublePropertyConverter;
class VbIntPropertyConverter;
class VbInt64PropertyConverter;
class VbPointPropertyConverter;
class VbRectPropertyConverter;
class VbStringPropertyConverter;
class VbUnsignedPropertyConverter;
class VbUnsignedLongPropertyConverter;
class VbVectorPropertyConverter;

using VbAnyPropertyConverterFactory = VbConcretePropertyConverterFactory<VbAnyPropertyConverter>;
using VbBoolPropertyConverterFactory = VbConcretePropertyConverterFactory<VbBoolPropertyConverter>;
using VbColorPropertyConverterFactory = VbConcretePropertyConverterFactory<VbColorPropertyConverter>;
using VbColorMapPropertyConverterFactory = VbConcretePropertyConverterFactory<VbColorMapPropertyConverter>;
using VbDoublePropertyConverterFactory = VbConcretePropertyConverterFactory<VbDoublePropertyConverter>;
using VbIntPropertyConverterFactory = VbConcretePropertyConverterFactory<VbIntPropertyConverter>;
using VbInt64PropertyConverterFactory = VbConcretePropertyConverterFactory<VbInt64PropertyConverter>;
using VbPointPropertyConverterFactory = VbConcretePropertyConverterFactory<VbPointPropertyConverter>;
using VbRectPropertyConverterFactory = VbConcretePropertyConverterFactory<VbRectPropertyConverter>;
using VbStringPropertyConverterFactory = VbConcretePropertyConverterFactory<VbStringPropertyConverter>;
using VbUnsignedPropertyConverterFactory = VbConcretePropertyConverterFactory<VbUnsignedPropertyConverter>;
using VbUnsignedLongPropertyConverterFactory = VbConcretePropertyConverterFactory<VbUnsignedLongPropertyConverter>;
using VbVectorPropertyConverterFactory = VbConcretePropertyConverterFactory<VbVectorPropertyConverter>;

} // namespace core
