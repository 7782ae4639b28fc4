-- SPDX-License-Identifier: Apache-2.0

-- The panel's tables, with the columns that the autoresponder and the panel's library name.

create table domains (
    id int unsigned not null auto_increment primary key,
    name varchar(255) not null,
    cl_id int unsigned
);

create table domainaliases (
    id int unsigned not null auto_increment primary key,
    dom_id int unsigned not null,
    name varchar(255) not null,
    mail enum('false', 'true') not null default 'true'
);

create table mail (
    id int unsigned not null auto_increment primary key,
    mail_name varchar(245) not null,
    dom_id int unsigned not null
);

create table mail_aliases (
    id int unsigned not null auto_increment primary key,
    mn_id int unsigned not null,
    alias varchar(245) not null
);

create table mail_resp (
    id int unsigned,
    mn_id int unsigned not null,
    keystr text,
    key_where varchar(20),
    text longtext,
    resp_on varchar(20),
    ans_freq varchar(20),
    mem_limit varchar(20),
    subject text,
    reply_to text,
    charset varchar(100),
    content_type varchar(100)
);

create table resp_freq (
    rn_id int unsigned not null,
    email varchar(255) not null,
    num int,
    time_resp timestamp not null default current_timestamp
);

create table resp_attach (
    rn_id int unsigned not null,
    filename varchar(255)
);

create table resp_forward (
    rn_id int unsigned not null,
    address varchar(255)
);

create table clients (
    id int unsigned not null auto_increment primary key,
    login varchar(255),
    pname varchar(255),
    email varchar(255)
);

create table misc (
    param varchar(255) not null primary key,
    val text
);

create table dom_param (
    dom_id int unsigned not null,
    param varchar(255) not null,
    val text
);

create table Parameters (
    id int unsigned not null,
    parameter varchar(255) not null,
    value text
);
