// The official MCP client against Tavix's plug: node client.mjs <url> <key>.
// Connects with the Streamable HTTP transport and a Bearer key, lists the tools, calls each read
// tool and place_order, and prints one JSON line of what came back. Exits 1 on any failure.
import { Client } from "@modelcontextprotocol/sdk/client/index.js";
import { StreamableHTTPClientTransport } from "@modelcontextprotocol/sdk/client/streamableHttp.js";

const [url, key] = process.argv.slice(2);
const transport = new StreamableHTTPClientTransport(new URL(url), {
  requestInit: { headers: { Authorization: `Bearer ${key}` } },
});
const client = new Client({ name: "tavix-check", version: "1.0.0" });

try {
  await client.connect(transport);
  const tools = (await client.listTools()).tools.map((tool) => tool.name);
  const calls = {};
  for (const [name, args] of [
    ["get_account", {}],
    ["get_positions", {}],
    ["get_quote", { symbol: "AAPL" }],
    ["get_bars", { symbol: "AAPL" }],
    ["get_study", { symbol: "AAPL", studies: [{ study: "rsi" }] }],
    ["list_studies", {}],
    ["list_orders", {}],
    ["place_order", { symbol: "AAPL", side: "buy", qty: 1, reason: "checking the plug" }],
    ["get_bars", { symbol: "AAPL", limit: 1001 }],
  ]) {
    const result = await client.callTool({ name, arguments: args });
    calls[name + (args.limit ? "_refused" : "")] = { isError: result.isError === true, text: result.content[0].text };
  }
  console.log(JSON.stringify({ server: client.getServerVersion(), tools, calls }));
  await client.close();
} catch (error) {
  console.error(String(error));
  process.exit(1);
}
