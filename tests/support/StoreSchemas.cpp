// The table layouts of the Chrome-family stores (and the two Firefox stores Opera's site
// preferences reach), as the browsers create them.

#include "support/StoreSchemas.h"

namespace tpc::test::schema {

// The tables "History" shares with "Archived History" (string literals, so both join at compile
// time).
#define TPC_ARCHIVED_HISTORY_TABLES                                                                \
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"           \
    "CREATE TABLE urls(id INTEGER PRIMARY KEY,url LONGVARCHAR,title LONGVARCHAR,"                  \
    "visit_count INTEGER DEFAULT 0 NOT NULL,typed_count INTEGER DEFAULT 0 NOT NULL,"               \
    "last_visit_time INTEGER NOT NULL,hidden INTEGER DEFAULT 0 NOT NULL,"                          \
    "favicon_id INTEGER DEFAULT 0 NOT NULL);"                                                      \
    "CREATE TABLE visits(id INTEGER PRIMARY KEY,url INTEGER NOT NULL,visit_time INTEGER NOT "      \
    "NULL,from_visit INTEGER,transition INTEGER DEFAULT 0 NOT NULL,segment_id INTEGER,"            \
    "is_indexed BOOLEAN,visit_duration INTEGER DEFAULT 0 NOT NULL);"                               \
    "CREATE TABLE visit_source(id INTEGER PRIMARY KEY,source INTEGER NOT NULL);"                   \
    "CREATE TABLE keyword_search_terms (keyword_id INTEGER NOT NULL,url_id INTEGER NOT NULL,"      \
    "lower_term LONGVARCHAR NOT NULL,term LONGVARCHAR NOT NULL);"

const char* const kArchivedHistory = TPC_ARCHIVED_HISTORY_TABLES;

const char* const kHistory = TPC_ARCHIVED_HISTORY_TABLES
    "CREATE TABLE downloads (id INTEGER PRIMARY KEY,current_path LONGVARCHAR NOT NULL,"
    "target_path LONGVARCHAR NOT NULL,start_time INTEGER NOT NULL,received_bytes INTEGER NOT "
    "NULL,total_bytes INTEGER NOT NULL,state INTEGER NOT NULL,danger_type INTEGER NOT NULL,"
    "interrupt_reason INTEGER NOT NULL,end_time INTEGER NOT NULL,opened INTEGER NOT NULL);"
    "CREATE TABLE downloads_url_chains (id INTEGER NOT NULL,chain_index INTEGER NOT NULL,"
    "url LONGVARCHAR NOT NULL, PRIMARY KEY (id, chain_index) );"
    "CREATE TABLE segments (id INTEGER PRIMARY KEY,name VARCHAR,url_id INTEGER NON NULL,"
    "pres_index INTEGER DEFAULT -1 NOT NULL);"
    "CREATE TABLE segment_usage (id INTEGER PRIMARY KEY,segment_id INTEGER NOT NULL,"
    "time_slot INTEGER NOT NULL,visit_count INTEGER DEFAULT 0 NOT NULL);";

#undef TPC_ARCHIVED_HISTORY_TABLES

const char* const kHistoryIndex =
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "CREATE VIRTUAL TABLE pages USING fts3(url LONGVARCHAR, title LONGVARCHAR, body "
    "LONGVARCHAR);"
    "CREATE TABLE info(time INTEGER NOT NULL, url INTEGER NOT NULL);";

const char* const kCookies =
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "CREATE TABLE cookies(creation_utc INTEGER NOT NULL,host_key TEXT NOT NULL,"
    "top_frame_site_key TEXT NOT NULL,name TEXT NOT NULL,value TEXT NOT NULL,"
    "encrypted_value BLOB NOT NULL,path TEXT NOT NULL,expires_utc INTEGER NOT NULL,"
    "is_secure INTEGER NOT NULL,is_httponly INTEGER NOT NULL,last_access_utc INTEGER NOT NULL,"
    "has_expires INTEGER NOT NULL,is_persistent INTEGER NOT NULL,priority INTEGER NOT NULL,"
    "samesite INTEGER NOT NULL,source_scheme INTEGER NOT NULL,source_port INTEGER NOT NULL,"
    "last_update_utc INTEGER NOT NULL,source_type INTEGER NOT NULL,"
    "has_cross_site_ancestor INTEGER NOT NULL);"
    "CREATE UNIQUE INDEX cookies_unique_index ON cookies(host_key, top_frame_site_key, "
    "has_cross_site_ancestor, name, path, source_scheme, source_port);";

const char* const kWebData =
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "CREATE TABLE autofill (name VARCHAR, value VARCHAR, value_lower VARCHAR, "
    "pair_id INTEGER PRIMARY KEY, count INTEGER DEFAULT 1);"
    "CREATE TABLE credit_cards ( guid VARCHAR PRIMARY KEY, name_on_card VARCHAR, "
    "expiration_month INTEGER, expiration_year INTEGER, card_number_encrypted BLOB, "
    "date_modified INTEGER NOT NULL DEFAULT 0);"
    "CREATE TABLE autofill_dates ( pair_id INTEGER DEFAULT 0, date_created INTEGER DEFAULT 0);"
    "CREATE TABLE autofill_profiles ( guid VARCHAR PRIMARY KEY, company_name VARCHAR, "
    "address_line_1 VARCHAR, address_line_2 VARCHAR, city VARCHAR, state VARCHAR, "
    "zipcode VARCHAR, country VARCHAR, country_code VARCHAR, "
    "date_modified INTEGER NOT NULL DEFAULT 0);"
    "CREATE TABLE autofill_profile_names ( guid VARCHAR, first_name VARCHAR, "
    "middle_name VARCHAR, last_name VARCHAR);"
    "CREATE TABLE autofill_profile_emails ( guid VARCHAR, email VARCHAR);"
    "CREATE TABLE autofill_profile_phones ( guid VARCHAR, type INTEGER DEFAULT 0, "
    "number VARCHAR);"
    "CREATE TABLE autofill_profiles_trash ( guid VARCHAR);"
    "CREATE TABLE keywords (id INTEGER PRIMARY KEY,short_name VARCHAR NOT NULL,"
    "keyword VARCHAR NOT NULL,favicon_url VARCHAR NOT NULL,url VARCHAR NOT NULL,"
    "safe_for_autoreplace INTEGER,originating_url VARCHAR,date_created INTEGER DEFAULT 0,"
    "usage_count INTEGER DEFAULT 0,input_encodings VARCHAR,show_in_default_list INTEGER,"
    "suggest_url VARCHAR,prepopulate_id INTEGER DEFAULT 0,created_by_policy INTEGER DEFAULT 0,"
    "instant_url VARCHAR,last_modified INTEGER DEFAULT 0,sync_guid VARCHAR);"
    "CREATE TABLE token_service (service VARCHAR PRIMARY KEY NOT NULL,encrypted_token BLOB);"
    "CREATE TABLE web_app_icons (url LONGVARCHAR,width int,height int,image BLOB, "
    "UNIQUE (url, width, height));"
    "CREATE TABLE web_apps (url LONGVARCHAR UNIQUE,has_all_images INTEGER NOT NULL);"
    "CREATE TABLE web_intents (service_url LONGVARCHAR,action VARCHAR,type VARCHAR,"
    "title LONGVARCHAR,disposition VARCHAR,UNIQUE (service_url, action, type));"
    "CREATE TABLE web_intents_defaults (action VARCHAR,type VARCHAR,url_pattern LONGVARCHAR,"
    "user_date INTEGER,suppression INTEGER,service_url LONGVARCHAR,"
    "UNIQUE (action, type, url_pattern));";

const char* const kLoginData =
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "CREATE TABLE logins (origin_url VARCHAR NOT NULL, action_url VARCHAR, "
    "username_element VARCHAR, username_value VARCHAR, password_element VARCHAR, "
    "password_value BLOB, submit_element VARCHAR, signon_realm VARCHAR NOT NULL,"
    "ssl_valid INTEGER NOT NULL,preferred INTEGER NOT NULL,date_created INTEGER NOT NULL,"
    "blacklisted_by_user INTEGER NOT NULL,scheme INTEGER NOT NULL,UNIQUE (origin_url, "
    "username_element, username_value, password_element, submit_element, signon_realm));";

const char* const kFavicons =
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "CREATE TABLE favicons(id INTEGER PRIMARY KEY,url LONGVARCHAR NOT NULL,"
    "icon_type INTEGER DEFAULT 1);"
    "CREATE TABLE favicon_bitmaps(id INTEGER PRIMARY KEY,icon_id INTEGER NOT NULL,"
    "last_updated INTEGER DEFAULT 0,image_data BLOB,width INTEGER DEFAULT 0,"
    "height INTEGER DEFAULT 0);"
    "CREATE TABLE icon_mapping(id INTEGER PRIMARY KEY,page_url LONGVARCHAR NOT NULL,"
    "icon_id INTEGER);";

const char* const kTopSites =
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "CREATE TABLE thumbnails (url LONGVARCHAR PRIMARY KEY,url_rank INTEGER ,"
    "title LONGVARCHAR,thumbnail BLOB,redirects LONGVARCHAR,boring_score DOUBLE DEFAULT 1.0, "
    "good_clipping INTEGER DEFAULT 0, at_top INTEGER DEFAULT 0, last_updated INTEGER DEFAULT 0, "
    "load_completed INTEGER DEFAULT 0);";

const char* const kOperaStash =
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "CREATE TABLE stash (id INTEGER PRIMARY KEY AUTOINCREMENT,url LONGVARCHAR NOT NULL,"
    "title LONGVARCHAR,time INTEGER NOT NULL,snapshot_id INTEGER);"
    "CREATE VIRTUAL TABLE stash_fts USING fts3(title LONGVARCHAR, body LONGVARCHAR);"
    "CREATE TABLE snapshots (id INTEGER PRIMARY KEY AUTOINCREMENT,image BLOB,"
    "width INTEGER,height INTEGER);"
    "CREATE TABLE task_queue (id INTEGER PRIMARY KEY AUTOINCREMENT,stash_id INTEGER NOT NULL,"
    "task INTEGER NOT NULL);";

const char* const kOperaThumbnails =
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "CREATE TABLE thumbnails (url LONGVARCHAR PRIMARY KEY,thumbnail BLOB,"
    "last_updated INTEGER DEFAULT 0);";

const char* const kOperaSession =
    "CREATE TABLE windows (id INTEGER PRIMARY KEY,type INTEGER NOT NULL,"
    "bounds LONGVARCHAR,show_state INTEGER);"
    "CREATE TABLE window_attrs (window_id INTEGER NOT NULL,name TEXT NOT NULL,value TEXT);";

const char* const kFirefoxContentPrefs =
    "CREATE TABLE groups (id INTEGER PRIMARY KEY, name TEXT NOT NULL);"
    "CREATE TABLE settings (id INTEGER PRIMARY KEY, name TEXT NOT NULL);"
    "CREATE TABLE prefs (id INTEGER PRIMARY KEY, groupID INTEGER REFERENCES groups(id), "
    "settingID INTEGER NOT NULL REFERENCES settings(id), value BLOB, timestamp INTEGER NOT NULL "
    "DEFAULT 0);";

const char* const kFirefoxCookies =
    "CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, originAttributes TEXT NOT NULL DEFAULT "
    "'', name TEXT, value TEXT, host TEXT, path TEXT, expiry INTEGER, lastAccessed INTEGER, "
    "creationTime INTEGER, isSecure INTEGER, isHttpOnly INTEGER, inBrowserElement INTEGER "
    "DEFAULT 0, sameSite INTEGER DEFAULT 0, rawSameSite INTEGER DEFAULT 0, schemeMap INTEGER "
    "DEFAULT 0, CONSTRAINT moz_uniqueid UNIQUE (name, host, path, originAttributes));";

const char* const kHistoryCurrentTables =
    "CREATE TABLE visited_links(id INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL,"
    "link_url_id INTEGER NOT NULL,top_level_url LONGVARCHAR NOT NULL,frame_url LONGVARCHAR NOT "
    "NULL,visit_count INTEGER DEFAULT 0 NOT NULL);"
    "CREATE TABLE content_annotations(visit_id INTEGER PRIMARY KEY,visibility_score NUMERIC,"
    "floc_protected_score NUMERIC,categories VARCHAR,page_topics_model_version INTEGER,"
    "annotation_flags INTEGER NOT NULL,entities VARCHAR,related_searches VARCHAR,"
    "search_normalized_url VARCHAR,search_terms LONGVARCHAR,alternative_title VARCHAR,"
    "page_language VARCHAR,password_state INTEGER DEFAULT 0 NOT NULL,has_url_keyed_image "
    "BOOLEAN NOT NULL);"
    "CREATE TABLE context_annotations(visit_id INTEGER PRIMARY KEY,context_annotation_flags "
    "INTEGER NOT NULL,duration_since_last_visit INTEGER,page_end_reason INTEGER,"
    "total_foreground_duration INTEGER,browser_type INTEGER DEFAULT 0 NOT NULL,window_id "
    "INTEGER DEFAULT -1 NOT NULL,tab_id INTEGER DEFAULT -1 NOT NULL,task_id INTEGER DEFAULT -1 "
    "NOT NULL,root_task_id INTEGER DEFAULT -1 NOT NULL,parent_task_id INTEGER DEFAULT -1 NOT "
    "NULL,response_code INTEGER DEFAULT 0 NOT NULL);";

const char* const kTopSitesCurrent =
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "CREATE TABLE top_sites(url LONGVARCHAR NOT NULL PRIMARY KEY,url_rank INTEGER NOT NULL,"
    "title LONGVARCHAR NOT NULL);";

const char* const kLoginStats =
    "CREATE TABLE stats (origin_domain VARCHAR NOT NULL, username_value VARCHAR, "
    "dismissal_count INTEGER, update_time INTEGER NOT NULL, "
    "UNIQUE(origin_domain, username_value));";

const char* const kWebDataAddresses =
    "CREATE TABLE addresses (guid VARCHAR PRIMARY KEY, use_count INTEGER NOT NULL DEFAULT 0, "
    "use_date INTEGER NOT NULL DEFAULT 0, date_modified INTEGER NOT NULL DEFAULT 0, "
    "language_code VARCHAR, label VARCHAR, initial_creator_id INTEGER DEFAULT 0, "
    "last_modifier_id INTEGER DEFAULT 0, record_type INTEGER);"
    "CREATE TABLE address_type_tokens (guid VARCHAR, type INTEGER, value VARCHAR, "
    "verification_status INTEGER DEFAULT 0, observations BLOB, PRIMARY KEY (guid, type));";

const char* const kDips =
    "CREATE TABLE meta(key LONGVARCHAR NOT NULL UNIQUE PRIMARY KEY, value LONGVARCHAR);"
    "CREATE TABLE bounces(site TEXT PRIMARY KEY NOT NULL,first_site_storage_time INTEGER "
    "DEFAULT NULL,last_site_storage_time INTEGER DEFAULT NULL,first_user_activation_time "
    "INTEGER DEFAULT NULL,last_user_activation_time INTEGER DEFAULT NULL,"
    "first_stateful_bounce_time INTEGER DEFAULT NULL,last_stateful_bounce_time INTEGER DEFAULT "
    "NULL,first_bounce_time INTEGER DEFAULT NULL,last_bounce_time INTEGER DEFAULT NULL);"
    "CREATE TABLE popups(opener_site TEXT NOT NULL,popup_site TEXT NOT NULL,access_id INT64,"
    "last_popup_time INTEGER DEFAULT NULL,is_current_interaction BOOLEAN,"
    "is_authentication_interaction BOOLEAN,PRIMARY KEY (opener_site, popup_site));"
    "CREATE TABLE config(key TEXT NOT NULL,int_value INTEGER,PRIMARY KEY(key));";

const char* const kFirefoxAnnos =
    "CREATE TABLE moz_anno_attributes (id INTEGER PRIMARY KEY, name VARCHAR(32) UNIQUE NOT "
    "NULL);"
    "CREATE TABLE moz_annos (id INTEGER PRIMARY KEY, place_id INTEGER NOT NULL, "
    "anno_attribute_id INTEGER, content LONGVARCHAR, flags INTEGER DEFAULT 0, expiration "
    "INTEGER DEFAULT 0, type INTEGER DEFAULT 0, dateAdded INTEGER DEFAULT 0, lastModified "
    "INTEGER DEFAULT 0);";

const char* const kFirefoxFavicons =
    "CREATE TABLE moz_icons ( id INTEGER PRIMARY KEY, icon_url TEXT NOT NULL, "
    "fixed_icon_url_hash INTEGER NOT NULL, width INTEGER NOT NULL DEFAULT 0, root INTEGER NOT "
    "NULL DEFAULT 0, color INTEGER, expire_ms INTEGER NOT NULL DEFAULT 0, flags INTEGER NOT NULL "
    "DEFAULT 0, data BLOB);"
    "CREATE TABLE moz_pages_w_icons ( id INTEGER PRIMARY KEY, page_url TEXT NOT NULL, "
    "page_url_hash INTEGER NOT NULL);"
    "CREATE TABLE moz_icons_to_pages ( page_id INTEGER NOT NULL, icon_id INTEGER NOT NULL, "
    "expire_ms INTEGER NOT NULL DEFAULT 0, PRIMARY KEY (page_id, icon_id), FOREIGN KEY "
    "(page_id) REFERENCES moz_pages_w_icons ON DELETE CASCADE, FOREIGN KEY (icon_id) "
    "REFERENCES moz_icons ON DELETE CASCADE) WITHOUT ROWID;";

} // namespace tpc::test::schema
