// SPDX-License-Identifier: MIT

#include "tests/support/HttpAnswer.h"

FaultAnswer HttpAnswer::AsFaultAnswer() const
{
    FaultAnswer answer = FaultAnswer::File(body).Type(contentType);
    if (status != 200) {
        answer = answer.WithStatus(status).OverlookRange();
    }
    for (const auto &header : headers) {
        answer = answer.Header(header.first, header.second);
    }
    if (!ranges) {
        answer = answer.OverlookRange();
    }
    if (!announceLength) {
        answer = answer.NoLength();
    }
    if (announcedLength >= 0) {
        answer = answer.Length(QByteArray::number(announcedLength));
    }
    answer = answer.FirstByteAfter(delayMs).Pieces(chunkSize, chunkPauseMs);
    switch (fault) {
    case Fault::None:
        break;
    case Fault::Silence:
        return FaultAnswer::Silence();
    case Fault::CloseAtOnce:
        return FaultAnswer::Closed();
    case Fault::ResetAtOnce:
        return FaultAnswer::WithReset();
    case Fault::CloseAfter:
        return answer.CutAfter(faultAfter);
    case Fault::ResetAfter:
        return answer.ResetAfter(faultAfter);
    case Fault::StallAfter:
        return answer.StallAfter(faultAfter);
    }
    return answer;
}
