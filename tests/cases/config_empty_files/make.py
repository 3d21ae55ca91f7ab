for name in "tag_table matcher_alias http2 http spdy http_proxy semantic_matcher_alias semantic_protocol semantic_csm semantic_tag_table ipbt".split():
    open(f"{name}/{name}.json", "w", encoding="ascii").close()
