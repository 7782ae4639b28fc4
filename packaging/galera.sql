-- SPDX-License-Identifier: Apache-2.0

-- For a MariaDB Galera cluster, which wants a primary key in every table: adds one where schema.sql
-- has none, invisible to statements that do not name it. The panel's own tables may have them
-- already.
alter table mail_resp add row_id bigint unsigned not null auto_increment primary key invisible;
alter table resp_freq add row_id bigint unsigned not null auto_increment primary key invisible;
alter table resp_attach add row_id bigint unsigned not null auto_increment primary key invisible;
alter table resp_forward add row_id bigint unsigned not null auto_increment primary key invisible;
alter table dom_param add row_id bigint unsigned not null auto_increment primary key invisible;
alter table Parameters add row_id bigint unsigned not null auto_increment primary key invisible;
