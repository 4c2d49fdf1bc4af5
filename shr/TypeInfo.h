#pragma once
// Run-time types. Each participating class owns a static CTypeInfo naming the
// class, its creator (for classes made by name, as archives do) and its parent.
// CTypeInfo objects register themselves when constructed, during static
// initialisation, and FromName finds them by class name afterwards.
//
// A class takes part with the macros at the end of this file:
//
//   class VdPoints : public VdVertexData {
//       SHR_DECLARE_CREATABLE_TYPE(VdPoints)
//   public: ...
//   };
//   SHR_IMPLEMENT_CREATABLE_TYPE(VdPoints, VdVertexData)   // in the .cpp
//
// A creator returns the new object as `CTypedObject*` converted to `void*`, so
// that the pointer is right whatever the class's base layout.
namespace shr {

class Archive;

class CTypeInfo {
public:
    // Read directly by calling code: keep it the first member.
    const char* m_ClassName;

    CTypeInfo(const char* className, void* (*creator)(), const CTypeInfo* parent);
    ~CTypeInfo();
    CTypeInfo(const CTypeInfo&) = delete;
    CTypeInfo& operator=(const CTypeInfo&) = delete;

    const char* ClassName() const { return m_ClassName; }
    const CTypeInfo* Parent() const { return m_Parent; }
    bool CanCreate() const { return m_Creator != nullptr; }
    // A new object of this type (a `CTypedObject*` as `void*`), or null when the
    // type cannot be made by name.
    void* CreateInstance() const;
    // True for this type and every type derived from it.
    bool IsDerivedFrom(const CTypeInfo* base) const;

    // The type registered under `className`, or null.
    static const CTypeInfo* FromName(const char* className);

private:
    void* (*m_Creator)();
    const CTypeInfo* m_Parent;
};

class CTypedObject {
public:
    virtual ~CTypedObject();
    virtual const CTypeInfo* GetTypeId() const;
    virtual void Serialize(Archive& archive);

    static const CTypeInfo* GetClassTypeId();
    bool IsKindOf(const CTypeInfo* type) const;

private:
    static const CTypeInfo ClassTypeId;
};

} // namespace shr

#define SHR_DECLARE_TYPE(Class)                                                       \
private:                                                                              \
    static const ::shr::CTypeInfo ClassTypeId;                                        \
                                                                                      \
public:                                                                               \
    const ::shr::CTypeInfo* GetTypeId() const override { return &ClassTypeId; }       \
    static const ::shr::CTypeInfo* GetClassTypeId() { return &ClassTypeId; }          \
                                                                                      \
private:

#define SHR_DECLARE_CREATABLE_TYPE(Class)                                             \
    SHR_DECLARE_TYPE(Class)                                                           \
    static void* CreateInstance();                                                    \
                                                                                      \
private:

#define SHR_IMPLEMENT_TYPE(Class, Parent)                                             \
    const ::shr::CTypeInfo Class::ClassTypeId(#Class, nullptr, Parent::GetClassTypeId());

#define SHR_IMPLEMENT_CREATABLE_TYPE(Class, Parent)                                   \
    void* Class::CreateInstance() { return static_cast<::shr::CTypedObject*>(new Class); } \
    const ::shr::CTypeInfo Class::ClassTypeId(#Class, &Class::CreateInstance, Parent::GetClassTypeId());
