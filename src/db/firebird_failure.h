// How a failed Firebird call reads to the caller.
//
// A statement that gave up waiting for a row another transaction holds says so, for how long
// and on which table, before the database's own words; a call the connection's watchdog cut
// short says the database did not answer. Whatever else failed keeps the database's message.
#pragma once

#include <ibase.h>

#include <cstddef>
#include <string>

namespace vornleads {

// Whether a status vector (size entries at most, ending at isc_arg_end) holds one of Firebird's
// answers to a row lock it could not get: deadlock or update conflict, a key an uncommitted row
// of another transaction already has, a lock time-out.
bool isLockConflict(const ISC_STATUS* status, size_t size);

// Whether it says the network connection to the server broke.
bool isConnectionLost(const ISC_STATUS* status, size_t size);

// The table a failed statement waited for: the one the database's message names (`on table
// "X"`), else the one the statement writes or locks (INSERT INTO X, UPDATE X, DELETE FROM X,
// SELECT ... FROM X ... WITH LOCK / FOR UPDATE), upper case; "" when neither says.
std::string lockedTable(const std::string& sql, const std::string& databaseMessage);

// "Waited 60 s for a row locked by another transaction on table FAT_CLIENTE: <message>".
std::string lockWaitMessage(int seconds, const std::string& table,
                            const std::string& databaseMessage);

// "The database did not answer in 90 s: <message>".
std::string noAnswerMessage(int seconds, const std::string& databaseMessage);

}  // namespace vornleads
