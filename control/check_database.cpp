// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "control/check.h"
#include "core/panel/database_session.h"
#include "core/panel/responder.h"

namespace autoresponder::control {

namespace {

struct Table {
    const char* name;
    std::vector<const char*> columns;
};

const std::vector<Table>& tables() {
    static const std::vector<Table> all = {
        {"mail", {"id", "mail_name", "dom_id"}},
        {"domains", {"id", "name", "cl_id"}},
        {"mail_aliases", {"mn_id", "alias"}},
        {"domainaliases", {"dom_id", "name", "mail"}},
        {"mail_resp",
         {"id", "mn_id", "keystr", "key_where", "text", "resp_on", "ans_freq", "mem_limit",
          "subject", "reply_to", "charset", "content_type"}},
        {"resp_freq", {"rn_id", "email", "num", "time_resp"}},
        {"resp_attach", {"rn_id", "filename"}},
        {"resp_forward", {"rn_id", "address"}},
        {"clients", {"id", "login", "pname", "email"}},
        {"misc", {"param", "val"}},
    };
    return all;
}

// A column as the server describes it.
struct Column {
    std::string type;
    std::string default_value;
    std::string length;  // in characters, a number as text
};

using Columns = std::map<std::string, Column>;

// The columns of the table that can be seen, by their names; none if it is not there.
Columns columns_of(Session& session, const char* table) {
    Columns columns;
    QueryResult rows = session.ask_or_end_run(
        std::string("select lower(column_name), lower(data_type), lower(column_default),"
                    " character_maximum_length from information_schema.columns"
                    " where table_schema=database() and table_name='") +
        table + "'");
    while (rows.fetch()) {
        columns[rows.text(0, "")] = {.type = rows.text(1, ""),
                                     .default_value = rows.text(2, ""),
                                     .length = rows.text(3, "")};
    }
    return columns;
}

std::string list_of(const std::vector<const char*>& words) {
    std::string list;
    for (const char* word : words) {
        list.append(list.empty() ? "" : ", ").append(word);
    }
    return list;
}

std::string missing_from(const Columns& columns, const Table& table) {
    std::vector<const char*> missing;
    for (const char* column : table.columns) {
        if (!columns.contains(column)) {
            missing.push_back(column);
        }
    }
    return list_of(missing);
}

// Whether a new row gets the time of its insertion by itself.
bool takes_time_of_insertion(const Column& column) {
    return (column.type == "timestamp" || column.type == "datetime") &&
           column.default_value.starts_with("current_timestamp");
}

void check_frequency_table(Checklist& checklist, const Columns& columns) {
    // An address may have 254 characters (RFC 5321, 4.5.3.1).
    constexpr int longest_address = 254;
    if (!takes_time_of_insertion(columns.at("time_resp"))) {
        checklist.to_do("resp_freq",
                        "alter table resp_freq modify time_resp timestamp not null default "
                        "current_timestamp: without it the daily limit lasts for ever");
        return;
    }
    const Column& email = columns.at("email");
    if (!email.length.empty() && email.length.size() < 7 &&
        std::atoi(email.length.c_str()) < longest_address) {
        checklist.to_do("resp_freq", "alter table resp_freq modify email varchar(255): it holds " +
                                         email.length +
                                         " characters, and longer addresses evade the daily limit");
        return;
    }
    checklist.good("resp_freq", "its times and addresses serve the daily limit");
}

void check_tables(Checklist& checklist, Session& session) {
    for (const Table& table : tables()) {
        const Columns columns = columns_of(session, table.name);
        const std::string missing = missing_from(columns, table);
        if (columns.empty()) {
            checklist.to_do(table.name, "create this table, or grant the right to see it to admin");
        } else if (!missing.empty()) {
            checklist.to_do(table.name, "add the columns that are missing: " + missing);
        } else if (std::string_view(table.name) == "resp_freq") {
            check_frequency_table(checklist, columns);
        } else {
            checklist.good(table.name, "has all columns");
        }
    }
}

// The server wants the same rights for an explanation as for the statement, which is not run.
void check_grants(Checklist& checklist, Session& session) {
    std::vector<std::pair<std::string, std::string>> statements;
    for (const Table& table : tables()) {
        statements.emplace_back(
            std::string("select on ") + table.name,
            "explain select " + list_of(table.columns) + " from " + table.name + " where 0");
    }
    statements.emplace_back("delete on resp_freq", "explain delete from resp_freq where rn_id=0");
    statements.emplace_back("update on resp_freq",
                            "explain update resp_freq set num=num+1 where rn_id=0 and email=''");
    statements.emplace_back("insert on resp_freq",
                            "explain insert into resp_freq set rn_id=0, email='', num=1");
    std::vector<const char*> refused;
    std::string reason;
    for (const auto& [right, statement] : statements) {
        const QueryResult result = session.ask(statement);
        if (!result.answered()) {
            refused.push_back(right.c_str());
            reason = result.reason();
        }
    }
    if (refused.empty()) {
        checklist.good("grants", "all that the statements need");
    } else {
        checklist.to_do("grants", "grant to admin: " + list_of(refused) + " (" + reason + ")");
    }
}

// qmail runs this many local deliveries at once (qmail-lspawn(8), control file concurrencylocal).
int local_deliveries() {
    int deliveries = 10;
    std::ifstream("/var/qmail/control/concurrencylocal") >> deliveries;
    return deliveries;
}

void check_connections(Checklist& checklist, Session& session) {
    QueryResult rows = session.ask_or_end_run("select @@max_connections");
    const PanelNumber most(rows.fetch() ? rows.text(0, "0") : "0");
    const int deliveries = local_deliveries();
    const std::string both =
        most.text + " connections for " + std::to_string(deliveries) + " local deliveries at once";
    if (most.value < deliveries) {
        checklist.to_do("connections", "raise max_connections of the database: " + both);
    } else {
        checklist.good("connections", both);
    }
}

}  // namespace

void check_database(Checklist& checklist, Session& session) {
    check_tables(checklist, session);
    check_grants(checklist, session);
    check_connections(checklist, session);
}

}  // namespace autoresponder::control
