#include "shr/TypeInfo.h"

#include <cstring>
#include <map>
#include <mutex>
#include <string>

namespace shr {

namespace {

// The table of constructed types. Function-local so that it exists before the
// first CTypeInfo of any library is constructed.
struct TypeTable {
    std::mutex mutex;
    std::map<std::string, const CTypeInfo*> byName;
};

TypeTable& Types()
{
    static TypeTable* table = new TypeTable; // never destroyed: types unregister at exit
    return *table;
}

} // namespace

CTypeInfo::CTypeInfo(const char* className, void* (*creator)(), const CTypeInfo* parent)
    : m_ClassName(className), m_Creator(creator), m_Parent(parent)
{
    TypeTable& table = Types();
    std::lock_guard<std::mutex> lock(table.mutex);
    table.byName[className] = this;
}

CTypeInfo::~CTypeInfo()
{
    TypeTable& table = Types();
    std::lock_guard<std::mutex> lock(table.mutex);
    auto it = table.byName.find(m_ClassName);
    if (it != table.byName.end() && it->second == this)
        table.byName.erase(it);
}

void* CTypeInfo::CreateInstance() const { return m_Creator ? m_Creator() : nullptr; }

bool CTypeInfo::IsDerivedFrom(const CTypeInfo* base) const
{
    for (const CTypeInfo* type = this; type; type = type->m_Parent)
        if (type == base)
            return true;
    return false;
}

const CTypeInfo* CTypeInfo::FromName(const char* className)
{
    if (!className)
        return nullptr;
    TypeTable& table = Types();
    std::lock_guard<std::mutex> lock(table.mutex);
    auto it = table.byName.find(className);
    return it == table.byName.end() ? nullptr : it->second;
}

const CTypeInfo CTypedObject::ClassTypeId("CTypedObject", nullptr, nullptr);

CTypedObject::~CTypedObject() = default;

const CTypeInfo* CTypedObject::GetTypeId() const { return &ClassTypeId; }

const CTypeInfo* CTypedObject::GetClassTypeId() { return &ClassTypeId; }

void CTypedObject::Serialize(Archive&) {}

bool CTypedObject::IsKindOf(const CTypeInfo* type) const { return GetTypeId()->IsDerivedFrom(type); }

} // namespace shr
