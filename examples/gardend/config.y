/* SPDX-FileCopyrightText: 2026 the libzol authors */
/* SPDX-License-Identifier: MIT */
/* The grammar of the configuration file. What becomes of it is the builder's affair. */

%require "3.6"
%define api.pure full
%define api.prefix {config_}
%define api.token.prefix {T_}
%define api.location.type {xlyctx_location_s}
%define parse.error custom
/* Tries the next word before it decides, and so knows exactly what could stand in its place. */
%define parse.lac full
%param {void* scanner}
%parse-param {gardend::CConfigurationBuilder& builder}

%code requires {
#include "zol/lyctx.h"

#include "configuration_builder.h"
}

%code {
#include <stdlib.h>

int config_lex(CONFIG_STYPE* value, xlyctx_location_s* location, void* scanner);

namespace {

using gardend::CConfigurationBuilder;
using gardend::Settings;
using gardend::Term;

constexpr int64_t kMillisecond = 1000;
constexpr int64_t kSecond = 1000000;
constexpr int64_t kMinute = 60000000;
constexpr int kDaily = 127;

// All that the stack holds is on that of the thread; what needs more is nested too deep.
#define YYINITDEPTH 150
#define YYMAXDEPTH YYINITDEPTH
#define YYMALLOC(size) xlyctx_malloc(nullptr, size)
#define YYFREE free

// A rule reaches from its first part to its last one; an empty one is just behind what was before.
#define YYLLOC_DEFAULT(current, parts, count)                               \
    do {                                                                    \
        (current) = YYRHSLOC(parts, (count) == 0 ? 0 : 1);                  \
        if ((count) == 0) {                                                 \
            xlyctx_update_location(&(current), "", 0);                      \
        } else if ((count) > 1) {                                           \
            xlyctx_concat_location(&(current), &YYRHSLOC(parts, (count)));  \
        }                                                                   \
    } while (0)

void config_error(const xlyctx_location_s* where, void*, CConfigurationBuilder& builder,
                  const char*) {
    builder.complain(*where, "this is nested too deep");
}

}  // namespace
}

%initial-action {
    @$ = xlyctx_location_s();
    @$.first_line = @$.last_line = 1;
}

%union {
    int number;
    int64_t microseconds;
    const char* text;
    gardend::Term term;
}

%token
    ABOVE "above"  AND "and"  AT "at"  BELOW "below"  BETWEEN "between"  CLOCK "clock"
    CLOSED "closed"  CONTROL "control"  DAILY "daily"  DOWNLOAD "download"  DRIVERS "drivers"
    EVERY "every"  FILE "file"  FLOW "ml/s"  FOLDER "folder"  FOR "for"  HA1 "ha1"  HOOK "hook"
    IS "is"  JOB "job"  KEY "key"  LIMIT "limit"  LINE "line"  LISTEN "listen"  LOG "log"
    MINUTES "minutes"  MOISTURE "moisture"  MS "ms"  NOT "not"  OF "of"  ON "on"  ONLY "only"
    OPEN "open"  OR "or"  PASSWORD "password"  RULE "rule"  SAMPLE "sample"  SECONDS "seconds"
    SOCKET "socket"  STATE "state"  TEXTS "texts"  TICK "tick"  TIME "time"  USER "user"
    WAIT "wait"  WATER "water"  WHEN "when"  ZONE "zone"
%token <number> NUMBER "a number"  DAY "a day"
%token <text> ADDRESS "an address with a port"  TIME_OF_DAY "a time"  WORD "a name"
    TEXT "a text in quotes"
%token END 0 "the end of the file"

%nterm <text> name zone
%nterm <number> minutes percent time days dayList isBelow
%nterm <microseconds> duration
%nterm <term> condition

%left OR
%left AND
%precedence NOT

%destructor { gardend::clean($$); } <term>

%%

configuration:
    statements                      { builder.finish(yylloc); }
;

statements:
    %empty
|   statements statement ';'
|   statements error ';'            { yyerrok; }
;

statement:
    LISTEN addresses
|   CONTROL SOCKET TEXT             { builder.setControlPath(@3, $3); }
|   TEXTS TEXT                      { builder.set(@2, &Settings::catalogs, $2); }
|   DRIVERS TEXT                    { builder.set(@2, &Settings::drivers, $2); }
|   HOOK TEXT                       { builder.set(@2, &Settings::hook, $2); }
|   JOB name TEXT                   { builder.addJob(@2, $2, $3); }
|   JOB USER TEXT                   { builder.setJobUser(@3, $3); }
|   STATE FILE TEXT                 { builder.set(@3, &Settings::stateFile, $3); }
|   LOG FOLDER TEXT                 { builder.set(@3, &Settings::logFolder, $3); }
|   TICK EVERY duration             { builder.set(@3, &Settings::tick, $3); }
|   SAMPLE EVERY duration           { builder.set(@3, &Settings::samplePeriod, $3); }
|   TIME LIMIT duration             { builder.set(@3, &Settings::timeLimit, $3); }
|   WAIT FOR CLOCK                  { builder.waitForClock(); }
|   USER TEXT PASSWORD TEXT         { builder.addUser(@2, $2, @4, $4); }
|   USER TEXT HA1 TEXT              { builder.addUserWithHa1(@2, $2, @4, $4); }
|   DOWNLOAD KEY TEXT FOR minutes   { builder.setDownloads(@3, $3, $5); }
|   ZONE name ON LINE NUMBER ',' NUMBER FLOW
        {
            const int line = builder.checkNumber(@5, $5, 0, gardend::kLineCount - 1, "line");
            builder.addZone(@2, $2, @5, line, builder.checkNumber(@7, $7, 1, 100000, "flow"));
        }
|   RULE WORD '=' condition         { builder.addRule(@2, $2, $4); }
|   WATER zone days AT time FOR minutes
                                    { builder.addSchedule(@2, $2, $3, $5, $7); }
|   WATER zone ONLY WHEN condition  { builder.guard(@2, $2, $5); }
;

addresses:
    ADDRESS                         { builder.listen(@1, $1); }
|   addresses ',' ADDRESS           { builder.listen(@3, $3); }
;

/* Quotes make a name of any word. */
name:
    WORD
|   TEXT
;

zone:
    name                            { $$ = builder.checkZone(@1, $1); }
;

days:
    DAILY                           { $$ = kDaily; }
|   ON dayList                      { $$ = $2; }
;

dayList:
    DAY                             { $$ = 1 << $1; }
|   dayList ',' DAY                 { $$ = $1 | 1 << $3; }
;

time:
    TIME_OF_DAY                     { $$ = builder.readTime(@1, $1); }
;

minutes:
    NUMBER MINUTES                  { $$ = builder.checkNumber(@1, $1, 1, 1440, "minutes"); }
;

percent:
    NUMBER '%'                      { $$ = builder.checkNumber(@1, $1, 0, 100, "percentage"); }
;

duration:
    NUMBER MS                       { $$ = builder.checkDuration(@1, $1, kMillisecond); }
|   NUMBER SECONDS                  { $$ = builder.checkDuration(@1, $1, kSecond); }
|   NUMBER MINUTES                  { $$ = builder.checkDuration(@1, $1, kMinute); }
;

condition:
    condition OR condition          { $$ = builder.check(@$, makeOr($1, $3)); }
|   condition AND condition         { $$ = builder.check(@$, makeAnd($1, $3)); }
|   NOT condition                   { $$ = builder.check(@$, makeNot($2)); }
|   '(' condition ')'               { $$ = $2; }
|   WORD                            { $$ = builder.makeReference(@1, $1); }
|   MOISTURE isBelow percent        { $$ = gardend::makeMoisture("", $2 != 0, $3); }
|   MOISTURE OF zone isBelow percent
                                    { $$ = gardend::makeMoisture($3, $4 != 0, $5); }
|   BETWEEN time AND time           { $$ = builder.makePeriod(@$, $2, $4); }
|   ON dayList                      { $$ = gardend::makeDays(static_cast<uint8_t>($2)); }
|   zone IS OPEN                    { $$ = gardend::makeValve($1); }
|   zone IS CLOSED                  { $$ = makeNot(gardend::makeValve($1)); }
;

isBelow:
    BELOW                           { $$ = 1; }
|   ABOVE                           { $$ = 0; }
;

%%

// Says what could stand in the place of a wrong word, where that is little.
static int yyreport_syntax_error(const yypcontext_t* context, void*,
                                 CConfigurationBuilder& builder) {
    constexpr int kMost = 4;
    yysymbol_kind_t kinds[kMost];
    const int count = yypcontext_expected_tokens(context, kinds, kMost);
    gardend::CText expected;
    for (int i = 0; i < count; ++i) {
        const bool isKeyword = kinds[i] >= YYSYMBOL_ABOVE && kinds[i] <= YYSYMBOL_ZONE;
        const char* const quote = isKeyword ? "'" : "";
        expected.add(i == 0 ? "" : i + 1 == count ? " or " : ", ");
        expected.add(quote).add(yysymbol_name(kinds[i])).add(quote);
    }
    builder.complainAboutToken(*yypcontext_location(context), expected.get());
    return 0;
}
