// SPDX-License-Identifier: MIT

#include "tests/update/hostile/HostileScripts.h"

const FaultAnswer &gHonest()
{
    static const FaultAnswer answer = FaultAnswer::File(HostileWorld::Package());
    return answer;
}

HostileRow::Spoil gAlways(int number, const FaultAnswer &answer)
{
    return [number, answer](FaultScript &script) {
        HostileWorld::Range(script, number).Answer(answer);
    };
}

HostileRow::Spoil gAtFirst(int number, const FaultAnswer &answer, int times)
{
    return [number, answer, times](FaultScript &script) {
        HostileWorld::Range(script, number).Answer(times, answer).Then(gHonest());
    };
}

HostileRow::Spoil gAllRanges(const FaultAnswer &answer)
{
    return [answer](FaultScript &script) { script.When("GET", "/files/setup.exe").Answer(answer); };
}

HostileRow::Spoil gAllRangesAtFirst(const FaultAnswer &answer)
{
    return [answer](FaultScript &script) {
        for (int number = 1; number <= 5; ++number) {
            HostileWorld::Range(script, number).Answer(answer).Then(gHonest());
        }
    };
}

HostileRow::Spoil gHead(const FaultAnswer &answer)
{
    return
        [answer](FaultScript &script) { script.When("HEAD", "/files/setup.exe").Answer(answer); };
}
