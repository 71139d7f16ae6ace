#pragma once

// Names that the provider treats differently from others.
namespace wa::names {

// The one class whose instances clients may delete.
inline constexpr char JOB_CLASS[] = "Zerix_ConcreteJob";

// The one class whose instances are reported in INTEROP_NAMESPACE; all others are in VEXAL_NAMESPACE.
inline constexpr char PROFILE_CLASS[] = "Zerix_RegisteredProfile";
inline constexpr char INTEROP_NAMESPACE[] = "\\root\\interop";
inline constexpr char VEXAL_NAMESPACE[] = "\\root\\DCIM\\vexal";

// Output parameters that the broker's result and job go to.
inline constexpr char RETURN_VALUE[] = "ReturnValue";
inline constexpr char JOB_PARAMETER[] = "Job";

}  // namespace wa::names
