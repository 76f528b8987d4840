#include "acquisition/RunAddition.h"

#include <QEventLoop>
#include <QTimer>

#include <gtest/gtest.h>

CAddLocationJob::Request AdditionRequest(CAddLocationJob::Mode mode, const QString& path,
                                         int storageId)
{
    CAddLocationJob::Request request;
    request.mode = mode;
    request.path = path;
    request.name = CAddLocationJob::NameFromPath(path);
    request.storageId = storageId;
    return request;
}

WorkOutcome RunAddition(CAddLocationJob& job, CAddLocationJob::Request request,
                        const std::function<void(int)>& onProgress)
{
    QEventLoop loop;
    auto outcome = WorkOutcome::Failed;
    bool done = false;
    const auto progress = QObject::connect(&job, &CAddLocationJob::progress, [&](int percent) {
        if (onProgress)
            onProgress(percent);
    });
    const auto finished =
        QObject::connect(&job, &CAddLocationJob::finished, [&](WorkOutcome ended) {
            outcome = ended;
            done = true;
            loop.quit();
        });
    if (job.Start(request)) {
        QTimer::singleShot(60000, &loop, &QEventLoop::quit);
        if (!done)
            loop.exec();
        EXPECT_TRUE(done) << "the job never ended";
    }
    QObject::disconnect(progress);
    QObject::disconnect(finished);
    return outcome;
}
