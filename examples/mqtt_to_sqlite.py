#!/usr/bin/env python3
"""Every record of every Corvane on a broker into one SQLite table, each once."""
import json, sqlite3, sys
import paho.mqtt.client as mqtt  # Debian: python3-paho-mqtt

db = sqlite3.connect(sys.argv[2] if len(sys.argv) > 2 else "records.db")
db.execute("CREATE TABLE IF NOT EXISTS records (topic TEXT, run TEXT, seq INTEGER, record TEXT,"
           " time TEXT, port TEXT, fields TEXT, PRIMARY KEY (run, seq))")

def on_message(client, userdata, msg):
    r = json.loads(msg.payload)  # a record published again has the same run and seq: kept once
    db.execute("INSERT OR IGNORE INTO records VALUES (?, ?, ?, ?, ?, ?, ?)", (msg.topic, r["run"],
               r["seq"], r["record"], r["time"], r["port"], json.dumps(r["fields"])))
    db.commit()

api = (mqtt.CallbackAPIVersion.VERSION2,) if hasattr(mqtt, "CallbackAPIVersion") else ()
client = mqtt.Client(*api, client_id="corvane-sqlite", clean_session=False)
client.on_connect = lambda c, *rest: c.subscribe("corvane/+/record", qos=1)
client.on_message = on_message
host, _, port = (sys.argv[1] if len(sys.argv) > 1 else "localhost").partition(":")
client.connect(host, int(port or 1883))
client.loop_forever()
