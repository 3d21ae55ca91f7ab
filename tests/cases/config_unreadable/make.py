import os

os.remove("cfg/spdy.json")
os.mkdir("cfg/spdy.json")
