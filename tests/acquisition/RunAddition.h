#pragma once

#include "acquisition/AddLocationJob.h"
#include "common/WorkOutcome.h"

#include <QString>

#include <functional>

// Runs one addition with the real job to its end, as the add dialog does: a request for
// path (named as the dialog names it) in storageId, started on job and waited for with
// an event loop (at most a minute, a test failure beyond). onProgress sees every
// progress percentage and may cancel the job. Failed when the job refuses to start.
WorkOutcome RunAddition(CAddLocationJob& job, CAddLocationJob::Request request,
                        const std::function<void(int)>& onProgress = {});

// The request RunAddition completes: mode, path, name and storage set.
CAddLocationJob::Request AdditionRequest(CAddLocationJob::Mode mode, const QString& path,
                                         int storageId);
