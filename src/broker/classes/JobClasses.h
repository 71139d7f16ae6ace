#pragma once

#include "broker/jobs/JobTable.h"
#include "broker/model/InstanceStore.h"

namespace broker {

inline constexpr char CONCRETE_JOB[] = "Zerix_ConcreteJob";
inline constexpr char DIAGNOSTIC_RESULT[] = "Zerix_DiagnosticResult";

struct JobRow
{
    JobTable& table;
    JobTable::Entry entry;
};

struct DiagnosticResultRow
{
    std::shared_ptr<const DiagnosticResult> result;
    // Of the same workspace; null when the adapter is gone.
    core::CimInstance* port;
};

// Identified by the job's id.
extern const ClassDescription<JobRow> concreteJobClass;
extern const ClassDescription<DiagnosticResultRow> diagnosticResultClass;

}  // namespace broker
